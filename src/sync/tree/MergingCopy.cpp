#include "sync/tree/MergingCopy.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/DateConversions.h"
#include "config/utilities/FileCreation.h"
#include "sync/RefusedNames.h"
#include "sync/compare/NameRule.h"
#include "sync/copy/VTFileCopyAgent.h"
#include "sync/tree/StagingWatch.h"

#include <cerrno>

namespace vt {
namespace {

constexpr std::uint32_t folderMode = 0755;

} // namespace

MergingCopy::MergingCopy(const TreeOperations::Services& services, MRLErrorReporter* handler, bool toPushkey)
    : _services(services), _calls(handler), _questions(services), _listing(services, _calls, _questions),
      _toPushkey(toPushkey) {}

bool MergingCopy::copy(const std::string& source, const std::string& destination, const FileAttributes* known) {
    _source = source;
    _destination = destination;
    Known first;
    first.source = known;
    std::optional<bool> answer = enter(first);
    while (!_levels.empty()) {
        if (answer) takeAnswer(*answer);
        Level& level = _levels.back();
        if (level.next < level.entries.size())
            answer = nextEntry(level);
        else
            answer = endLevel();
    }
    return answer.value_or(false);
}

std::optional<bool> MergingCopy::enter(const Known& known) {
    const auto source = known.source != nullptr ? std::optional(*known.source) : _questions.look(_source);
    if (!source) {
        // What has vanished is owed to nobody.
        if (_questions.lastCode() != ENOENT) _calls.pathFailed(_source, false);
        return false;
    }
    const bool plain = ItemQuestions::isPlainFolder(_source, *source);
    const auto present = known.destinationAbsent ? std::nullopt : _questions.look(_destination);
    if (!present) {
        if (plain) return enterNewFolder(*source, known);
        return copyNew(*source, known);
    }
    const bool limit = _questions.isLimited(_destination, *present);
    if (!source->isDirectory())
        systemLog(formatText("object exists in destination path %@", {paths::displayText(_destination)}));
    if (plain != ItemQuestions::isPlainFolder(_destination, *present)) return askAboutConflict();
    return plain ? mergeFolder(limit) : mergePackage(*source, *present, limit, known);
}

// A plain folder meets a file or a package. The handler's "go on" is the result, though nothing was copied.
bool MergingCopy::askAboutConflict() {
    const bool goesOn = _calls.proceedsAfter({_source, _destination, Error::fromErrno(EISDIR, _source).text, EISDIR});
    _calls.pathFailed(_source, goesOn);
    return goesOn;
}

std::optional<bool> MergingCopy::enterNewFolder(const FileAttributes& source, const Known& known) {
    auto entries = _listing.listFailuresLast(_source);
    const auto acceptable = entries ? _listing.firstAcceptable(_source, *entries) : std::nullopt;
    if (!acceptable) {
        skipFiltered(source);
        return true;
    }
    if (!makeDestinationFolder(known.destinationParentExists)) {
        _services.log.logMessage(
            localisedText("Unable to create directory at %@.", {paths::displayText(_destination)}));
        _calls.pathFailed(_source, false);
        return false;
    }
    begin(std::move(*entries), false);
    Level& level = _levels.back();
    level.fresh = true;
    level.refusedBefore = acceptable->itself ? acceptable->index : acceptable->index + 1;
    if (acceptable->itself) level.acceptedFirst = acceptable->index;
    return std::nullopt;
}

bool MergingCopy::makeDestinationFolder(bool parentExists) {
    if (parentExists && _services.files.makeDirectory(_destination, folderMode)) {
        if (_toPushkey) setSyncBackupDateTo(Date::missing(), _destination);
        return true;
    }
    return createDirectoryAtPath(_services.files, _destination, nullptr, true, _toPushkey);
}

std::optional<bool> MergingCopy::mergeFolder(bool limit) {
    auto entries = _listing.listFailuresLast(_source);
    if (!entries || entries->empty()) return true;
    begin(std::move(*entries), limit);
    return std::nullopt;
}

// Neither is a plain folder. A file has no entries, so what lies at the destination stays as it is.
std::optional<bool> MergingCopy::mergePackage(const FileAttributes& source, const FileAttributes& present, bool limit,
                                              const Known& known) {
    const bool accepted = known.acceptedWithLimit && (*known.acceptedWithLimit || !limit);
    if (!accepted && !_questions.accepts(_source, paths::lastComponent(_source), source, limit)) {
        skipFiltered(source);
        return false;
    }
    // In the file system's own order: the last entry decides the result.
    auto entries = source.isDirectory() ? _listing.list(_source) : std::nullopt;
    if (!entries || entries->empty()) {
        _calls.pathFailed(_source, false);
        return false;
    }
    begin(std::move(*entries), limit);
    _levels.back().package = true;
    _levels.back().folderThere = present.isDirectory();
    return std::nullopt;
}

bool MergingCopy::copyNew(const FileAttributes& source, const Known& known) {
    if (!known.destinationParentExists) {
        const std::string parent = paths::parent(_destination);
        if (parent.empty()) return false;
        if (!createDirectoryAtPath(_services.files, parent, nullptr, true, _toPushkey)) {
            _services.log.logMessage(localisedText("Unable to create directory at %@.", {paths::displayText(parent)}));
            _calls.pathFailed(_source, false);
            return false;
        }
    }
    if (!known.acceptedWithLimit && !_questions.accepts(_source, paths::lastComponent(_source), source, false)) {
        skipFiltered(source);
        return false;
    }
    if (source.isLink() && !_questions.capabilities(paths::parent(_destination)).holdsLinks) {
        skipFiltered(source);
        return true;
    }
    _calls.setFileCopyPath(&_source);
    const bool copied = source.isLink() ? copyLink(known.destinationAbsent) : copyItem(source);
    _calls.setFileCopyPath(nullptr);
    if (copied && _toPushkey) setSyncBackupDateTo(Date::missing(), _destination);
    // A failed copy counts as well, deliberately: the progress must reach its end.
    _calls.accumulateCopiedData(fastPathSize(_services.files, _source, &source, _services.closed));
    return copied;
}

bool MergingCopy::copyItem(const FileAttributes& source) {
    if (_services.staging != nullptr) _services.staging->itemWillBeCopied(_destination);
    VTFileCopyAgent agent(copierHere());
    agent.setSourcePath(_source);
    agent.setDestionationPath(_destination);
    agent.setDelegate(dynamic_cast<VTFileCopyAgentDelegate*>(_calls.handler()));
    const bool copied = agent.performCopy();
    _calls.resetPartiallyCopiedData();
    const bool incomplete = agent.itemsSkipped() > 0;
    if (!copied) {
        // A cancelled copy is no failure of this path.
        if (agent.errorsAsked() > 0 || !_calls.cancelPending()) _calls.pathFailed(_source, false);
    } else {
        if (incomplete) _calls.pathFailed(_source, true);
        if (_services.staging != nullptr && (source.isDirectory() || !incomplete))
            _services.staging->itemWasCopied(_destination, source,
                                             static_cast<std::uint64_t>(agent.totalFinished().value_or(0)), incomplete);
    }
    return copied;
}

ItemCopyService& MergingCopy::copierHere() {
    if (_levels.empty()) return _services.copier;
    const Level& level = _levels.back();
    if (!_folderCopier)
        _folderCopier = _services.copier.forFolder(_source.substr(0, level.sourceLength),
                                                   _destination.substr(0, level.destinationLength),
                                                   std::span(level.entries).subspan(level.next - 1));
    return _folderCopier ? *_folderCopier : _services.copier;
}

bool MergingCopy::copyLink(bool destinationAbsent) {
    FileService& files = _services.files;
    const auto target = files.readLink(_source);
    bool made = false;
    if (target) {
        const auto present = destinationAbsent ? Result<std::string>(Error{}) : files.readLink(_destination);
        if (present && *present == *target) return true;
        if (present) files.remove(_destination, {}).ignore();
        made = files.makeLink(_destination, *target).ok();
    }
    // Its own date decides nothing, so a drive that keeps none for links is no failure.
    if (const auto source = files.attributes(_source); made && source)
        files.setModified(_destination, source->modified).ignore();
    if (!made) _calls.pathFailed(_source, false);
    return made;
}

void MergingCopy::begin(std::vector<DirectoryEntry> entries, bool limit) {
    Level level;
    level.entries = std::move(entries);
    level.sourceLength = _source.size();
    level.destinationLength = _destination.size();
    level.limit = limit;
    _folderCopier.reset();
    _levels.push_back(std::move(level));
}

std::optional<bool> MergingCopy::nextEntry(Level& level) {
    const std::size_t index = level.next++;
    const DirectoryEntry& entry = level.entries[index];
    _source.append("/").append(entry.name);
    _destination.append("/").append(entry.name);
    if (_questions.isClosed(entry.attributes)) {
        _services.log.logMessage(
            localisedText("\"%@\" is the root of a served drive and is left out.", {paths::displayText(_source)}));
    } else if (!offeredToFilter(level, index)) {
        skipFiltered(entry.attributes);
    } else if (nameIsRefused(entry.name)) {
        _services.refusedNames->leaveOut(_source,
                                         fastPathSize(_services.files, _source, &entry.attributes, _services.closed));
    } else if (isTwin(level, entry.name)) {
        _services.log.logMessage(localisedText("Skipping \"%1$@\": the drive already has \"%2$@\" by its own rules.",
                                               {paths::displayText(_source), paths::displayText(_destination)}));
        skipFiltered(entry.attributes);
    } else {
        Known known;
        known.source = &entry.attributes;
        known.destinationAbsent = level.fresh;
        known.destinationParentExists = level.folderThere;
        known.acceptedWithLimit = level.limit;
        return enter(known);
    }
    if (!level.package) level.result = true;
    backToLevel(level);
    return std::nullopt;
}

bool MergingCopy::offeredToFilter(Level& level, std::size_t index) {
    if (index < level.refusedBefore) return false;
    if (level.acceptedFirst == index) return true;
    const DirectoryEntry& entry = level.entries[index];
    return _questions.accepts(_source, entry.name, entry.attributes, level.limit);
}

bool MergingCopy::nameIsRefused(const std::string& name) const {
    return _toPushkey && _services.refusedNames != nullptr && _services.refusedNames->refuses(name);
}

// A second name for what this folder has already received. Letters are judged here, anything beyond by the drive.
bool MergingCopy::isTwin(Level& level, const std::string& name) {
    const std::size_t folder = level.destinationLength;
    if (_questions.capabilities(_destination.substr(0, folder)).caseSensitive) return false;
    if (!level.names.insert(NameRule(false).key(name)).second) return true;
    return level.fresh && _questions.look(_destination).has_value();
}

// The paths still name the entry that the answer is about.
void MergingCopy::takeAnswer(bool answer) {
    Level& level = _levels.back();
    level.result = answer;
    if (!answer && !level.package) {
        _services.log.logMessage(localisedText("Copy of %@ onto %@ failed.",
                                               {paths::displayText(_source), paths::displayText(_destination)}));
        level.next = level.entries.size();
    }
    backToLevel(level);
    if (!answer && level.package)
        _services.log.logMessage(
            localisedText("Copy of %@ to %@ failed.", {paths::displayText(_source), paths::displayText(_destination)}));
}

bool MergingCopy::endLevel() {
    _folderCopier.reset(); // the commit moves the folder
    const Level level = std::move(_levels.back());
    _levels.pop_back();
    _source.resize(level.sourceLength);
    _destination.resize(level.destinationLength);
    // Whether or not something failed, what has arrived is committed.
    if (!level.package) _calls.processATempFolder(_destination);
    return level.result;
}

void MergingCopy::backToLevel(const Level& level) {
    _source.resize(level.sourceLength);
    _destination.resize(level.destinationLength);
}

void MergingCopy::skipFiltered(const FileAttributes& item) {
    // Under a pending cancel nothing of this is added up, so a large tree is not walked for it.
    if (item.isDirectory() && _calls.cancelPending()) return;
    _calls.accumulateSkipFilteredData(fastPathSize(_services.files, _source, &item, _services.closed));
}

} // namespace vt
