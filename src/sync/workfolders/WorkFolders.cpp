#include "sync/workfolders/WorkFolders.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/Packages.h"
#include "config/utilities/TreeWalk.h"
#include "sync/keep/BesideNames.h"
#include "sync/report/MRLErrorReporter.h"
#include "sync/tree/OwnRemoval.h"

#include <cerrno>

namespace vt {
namespace {

constexpr std::uint32_t sharedMode = 0777; // every user of every computer keeps copies on the drive

std::string line(std::string_view format, const std::string& path) {
    return formatText(format, {paths::displayText(path)});
}

} // namespace

bool WorkFolders::prepare() {
    if (_services.besides != nullptr) _services.besides->putBack();
    (void)deleteTempFolders();
    if (!exists(_paths.target) && !makeFolder(_paths.target, &sharedMode)) {
        _services.logLine(line("-sync: unable to create target folder %@.", _paths.target));
        return false;
    }
    _services.debugLine(line("-sync: creating %@.", _paths.driveWork));
    if (!exists(_paths.driveWork) && !makeFolder(_paths.driveWork, &sharedMode)) {
        _services.logLine(
            line("-sync: unable to create temporary folder %@ for Mac->Pushkey copying.", _paths.driveWork));
        return false;
    }
    _services.debugLine(line("-sync: creating %@.", _paths.localWork));
    // Nothing is staged there in this version, so its absence stops no sync.
    if (!makeFolder(_paths.localWork, nullptr))
        _services.logLine(
            line("-sync: unable to create temporary folder %@ for Pushkey->Mac copying.", _paths.localWork));
    return true;
}

bool WorkFolders::exists(const std::string& path) const {
    return _services.files.attributesFollowing(path).ok();
}

bool WorkFolders::makeFolder(const std::string& path, const std::uint32_t* mode) {
    return _services.tree.createDirectoryAtPath(path, mode, true, false);
}

bool WorkFolders::processTempFolders() {
    return processATempFolder(_paths.driveWork);
}

bool WorkFolders::processATempFolder(const std::string& folder) {
    _services.debugLine("-processTempFolders: finishing Mac->Pushkey sync.");
    if (!folder.starts_with(_paths.driveWork)) return false;
    const std::string base = _paths.target + folder.substr(_paths.driveWork.size());
    const auto names = _services.files.listNames(folder);
    if (names && !names->empty()) {
        const bool whole = moveWhole(folder, base, *names);
        if (!whole) moveEntries(folder, base);
        if (_services.committed) _services.committed();
        if (whole) return true;
    }
    reportLeftBehind(folder);
    return removeOwn(_services.files, folder, {}).ok();
}

// Into a place that is not there yet the whole folder goes with one rename: no entry can meet anything, so locks stay
// what they are, and nothing is asked.
bool WorkFolders::moveWhole(const std::string& folder, const std::string& base, const std::vector<std::string>& names) {
    if (folder == _paths.driveWork || _services.stopsCommit()) return false;
    if (_services.files.attributes(base).code() != ENOENT) return false;
    if (!_services.tree.createDirectoryAtPath(paths::parent(base), nullptr, true, true)) return false;
    if (!_services.files.move(folder, base, Replace::never)) return false;
    for (const auto& name : names) debugMoving(paths::join(folder, name), paths::join(base, name));
    return true;
}

void WorkFolders::moveEntries(const std::string& folder, const std::string& base) {
    const auto entries = _services.files.list(folder);
    if (!entries) return;
    const auto reporter = _services.errorReporter();
    for (const auto& entry : *entries) {
        if (_services.stopsCommit()) return;
        const std::string from = paths::join(folder, entry.name);
        const std::string to = paths::join(base, entry.name);
        debugMoving(from, to);
        if (!_services.tree.movePathOntoPath(from, to, true, reporter.get(), &entry.attributes)) return;
    }
}

void WorkFolders::debugMoving(const std::string& from, const std::string& to) {
    if (_services.debugEnabled && !_services.debugEnabled()) return;
    _services.debugLine(
        formatText("                : moving \"%@\" ->\"%@\".", {paths::displayText(from), paths::displayText(to)}));
}

// Whatever is still staged goes with the folder, and is owed. Merged folders stay behind empty.
void WorkFolders::reportLeftBehind(const std::string& folder) {
    std::vector<std::string> folders{folder};
    while (!folders.empty()) {
        const std::string current = std::move(folders.back());
        folders.pop_back();
        const auto entries = _services.files.list(current);
        if (!entries) {
            if (entries.code() != ENOENT) _services.leftBehind(current);
            continue;
        }
        for (const auto& entry : *entries) {
            const std::string path = paths::join(current, entry.name);
            if (isWholeItem(path, entry))
                _services.leftBehind(path);
            else
                folders.push_back(path);
        }
    }
}

bool WorkFolders::isWholeItem(const std::string& path, const DirectoryEntry& entry) const {
    if (!entry.attributes.isDirectory()) return true;
    return isPackageName(entry.name) && (!_services.isStagedWhole || _services.isStagedWhole(path));
}

bool WorkFolders::deleteTempFolders() {
    const bool driveGone = deleteFolder("global", _paths.driveWork);
    const bool localGone = deleteFolder("local", _paths.localWork);
    return driveGone && localGone;
}

bool WorkFolders::deleteFolder(const char* which, const std::string& folder) {
    const std::string name = paths::displayText(folder);
    _services.debugLine(formatText("-deleteTempFolders: deleting %s \"%@\".", {which, name}));
    const std::uint64_t before = countEntries(folder);
    const bool removed = removeOwn(_services.files, folder, {}).ok();
    _services.debugLine(formatText("-deleteTempFolders: \"%@\" was %s deleted.", {name, removed ? "" : " NOT"}));
    if (!removed) {
        // Half a work folder in the trash would only keep its space.
        const bool whole = _services.files.attributes(folder).ok() && countEntries(folder) == before;
        const bool recycled = whole && _services.workspace.recycle(folder).ok();
        _services.debugLine(
            formatText("-deleteTempFolders: recycling \"%@\" %s.", {name, recycled ? "succeeded" : "failed"}));
    }
    return _services.files.attributes(folder).code() == ENOENT;
}

std::uint64_t WorkFolders::countEntries(const std::string& folder) const {
    std::uint64_t count = 0;
    visitTree(_services.files, folder, [&](const std::string&, const DirectoryEntry&) { ++count; });
    return count;
}

} // namespace vt
