#include "sync/report/MRLCopyErrorReporter.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "sync/copy/VTFileCopyAgent.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace vt {
namespace {

constexpr std::uint32_t leastFreeSpace = 0x20000; // bytes; below it a volume counts as full
constexpr const char* volumesFolder = "/Volumes/";

std::string isADirectoryText() {
    return Error::fromErrno(EISDIR, {}).text;
}

// Of the volume that holds `path`, or would hold it: the nearest folder that is there answers for what is not.
std::optional<VolumeStat> volumeOf(VolumeService& volumes, std::string path) {
    while (!path.empty()) {
        const auto stat = volumes.statVolume(path);
        if (stat) return *stat;
        if (stat.code() != ENOENT && stat.code() != ENOTDIR) return std::nullopt;
        if (path == "/") return std::nullopt;
        path = paths::parent(path);
    }
    return std::nullopt;
}

} // namespace

MRLCopyErrorReporter::MRLCopyErrorReporter(std::weak_ptr<TreeDelegate> delegate, FileService& files,
                                           VolumeService& volumes)
    : MRLErrorReporter(std::move(delegate)), _files(files), _volumes(volumes) {}

std::shared_ptr<MRLCopyErrorReporter> MRLCopyErrorReporter::create(std::weak_ptr<TreeDelegate> delegate,
                                                                   FileService& files, VolumeService& volumes) {
    return std::make_shared<MRLCopyErrorReporter>(std::move(delegate), files, volumes);
}

void MRLCopyErrorReporter::willProcessPath(const std::string& path) {
    if (const auto controller = delegate())
        controller->debugMessage(formatText("MRLCopyErrorReporter: copying \"%@\"...", {paths::displayText(path)}));
}

bool MRLCopyErrorReporter::shouldProceedAfterErrorCopyingItem(const Error& error, const std::string& from,
                                                              const std::string& to) {
    return shouldProceedAfterError({from, to, error.text, error.code});
}

bool MRLCopyErrorReporter::shouldProceedAfterErrorMovingItem(const Error& error, const std::string& from,
                                                             const std::string& to) {
    return shouldProceedAfterError({from, to, error.text, error.code});
}

bool MRLCopyErrorReporter::shouldProceedAfterError(const ErrorDictionary& error) {
    const auto item = _files.attributes(error.path);
    if (item && item->isLink()) return remakeLink(error);

    const bool mounted = destinationVolumeIsMounted(error);
    const bool full = mounted && isShortOfSpace(error);
    const std::string text = full ? localised("Not enough free space on disk") : error.error;
    incrementErrorCount();
    logError(error, text);
    if (errorHandling() != 0) return errorHandling() > 0;
    if (mounted) return askAboutCopy(error, text);
    // The drive has gone: the sync ends by itself, so it is not marked as cancelled here.
    if (const auto controller = delegate())
        controller->syncThreadPerformAlertWithTitle(
            localised("Copy Failed."), localised("There was a problem with the connection to the wireless device."),
            false, false);
    return false;
}

// Neither counts nor logs, deliberately: a link that can be made after all is no error.
bool MRLCopyErrorReporter::remakeLink(const ErrorDictionary& error) {
    const auto target = _files.readLink(error.path);
    if (!target) return false;
    if (error.toPath) {
        const auto present = _files.readLink(*error.toPath);
        if (present && *present == *target) return true;
        if (present) _files.remove(*error.toPath, {}).ignore();
        if (_files.makeLink(*error.toPath, *target)) return true;
    }
    return errorHandling() == 0 && askAboutCopy(error, error.error);
}

bool MRLCopyErrorReporter::destinationVolumeIsMounted(const ErrorDictionary& error) const {
    auto mounted = _volumes.mountedVolumes();
    std::stable_sort(mounted.begin(), mounted.end(),
                     [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
    if (const auto controller = delegate()) {
        std::vector<std::string> shown;
        shown.reserve(mounted.size());
        for (const auto& path : mounted) shown.push_back(paths::displayText(path));
        controller->applicationLogMessage(formatText("path: %@", {Value(arrayOfStrings(shown))}));
    }
    if (!error.toPath) return false;
    return std::any_of(mounted.begin(), mounted.end(), [&](const std::string& path) {
        const bool named = path != "/" && (volumesFolder + paths::lastComponent(path)).size() > 9;
        return named && error.toPath->find(path) != std::string::npos;
    });
}

// The free size counts by its low 32 bits, deliberately: 4 GiB and a little free is a full disk here.
bool MRLCopyErrorReporter::isShortOfSpace(const ErrorDictionary& error) const {
    auto volume = error.toPath ? volumeOf(_volumes, *error.toPath) : std::nullopt;
    if (!volume) volume = volumeOf(_volumes, error.path);
    const auto free = static_cast<std::uint32_t>(volume ? volume->freeBytes : 0);
    return free < leastFreeSpace;
}

void MRLCopyErrorReporter::logError(const ErrorDictionary& error, const std::string& text) const {
    const auto controller = delegate();
    if (!controller) return;
    const std::string path = paths::displayText(error.path);
    if (!error.toPath)
        controller->syncThreadLogMessage(localisedText("Unable to copy \"%1$@\"- %2$@.", {path, text}));
    else if (text != isADirectoryText())
        controller->syncThreadLogMessage(localisedText("Unable to copy \"%1$@\" to \"%2$@\" - %3$@.",
                                                       {path, paths::displayText(*error.toPath), text}));
}

bool MRLCopyErrorReporter::askAboutCopy(const ErrorDictionary& error, const std::string& text) const {
    const auto controller = delegate();
    if (!controller) return false;
    const std::string name = paths::displayText(controller->displayNameAtPath(error.toPath.value_or(error.path)));
    return askPerson(localised("Copy Failed."),
                     localisedText("There was a problem copying \"%1$@\" (%2$@).  "
                                   "Do you want to continue with the sync operation?",
                                   {name, text}),
                     true);
}

void MRLCopyErrorReporter::agentUpdate(VTFileCopyAgent& agent, std::int64_t copiedBytes) {
    const auto controller = delegate();
    if (!controller) return;
    if (controller->cancelPending()) {
        agent.setCancelled(true);
        systemLog("Cancelling copy");
    }
    controller->setPartiallyCopiedData(static_cast<std::uint64_t>(std::max<std::int64_t>(copiedBytes, 0)));
}

int MRLCopyErrorReporter::agentActionRequired(VTFileCopyAgent&, const FileCopyAgentError& error) {
    const bool goesOn = shouldProceedAfterError({error.fromPath, error.toPath, error.text, error.code});
    return static_cast<int>(goesOn ? CopyAnswer::skip : CopyAnswer::quit);
}

} // namespace vt
