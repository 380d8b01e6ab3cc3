#include "sync/compare/ItemComparison.h"

#include "base/Paths.h"
#include "config/utilities/DateConversions.h"
#include "config/utilities/Packages.h"
#include "config/utilities/TreeWalk.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vt {

namespace {

// The platform's names for the kinds, as the log shows them.
const char* typeName(FileKind kind) {
    switch (kind) {
    case FileKind::regular:
        return "NSFileTypeRegular";
    case FileKind::directory:
        return "NSFileTypeDirectory";
    case FileKind::link:
        return "NSFileTypeSymbolicLink";
    case FileKind::other:
        break;
    }
    return "NSFileTypeUnknown";
}

bool isPlainFolder(const std::string& path, FileKind kind) {
    return kind == FileKind::directory && !isPackageName(paths::lastComponent(path));
}

std::string shown(const std::string& path) {
    return paths::displayText(path);
}

} // namespace

ItemComparison::ItemComparison(Services services, NameRule rule, std::optional<Date> lastSync)
    : _services(services), _rule(rule), _lastSync(lastSync), _driveWork(services.paths.driveWork()),
      _localWork(services.paths.localWork()), _dateShift(services.dateGranularity) {
    const ScanRoots roots{services.paths.target(), _driveWork, _localWork};
    _services.results.beginPass(roots, rule);
    _owedEntries.setRoots(roots);
}

bool ItemComparison::syncThreadSyncItem(const std::string& itemPath, Index local) {
    const Item item{itemPath, _services.paths.local(itemPath), _services.paths.drive(itemPath)};
    const std::string name = paths::lastComponent(item.local);
    const bool there = local != ComputerSnapshot::none;
    // The marker step belongs to a kind of sync that no controller has, so no item is ever marked.
    std::optional<FileAttributes> known;
    if (there) {
        known = _services.snapshot.attributes(local);
        if (known->isLink()) {
            _services.log.logLine("\"%@\" is a link and is not copied.", shown(item.local));
            const auto target = _services.files.attributesFollowing(item.local);
            known = target ? std::optional(*target) : std::nullopt;
        }
    }
    if (!_services.filter.shouldCopyItem(item.local, name, known ? &*known : nullptr)) {
        _services.log.debugLine("-\n-: skipping \"%@\"\n-:     <--> \"%@\"", shown(item.local), shown(item.drive));
        std::optional<FileAttributes> present;
        if (!there || _services.snapshot.kind(local) != FileKind::regular)
            noteNotLookedInto(item.drive);
        else if (const auto drive = _services.files.attributes(item.drive))
            present = *drive;
        skipFiltered(item, local, present ? &*present : nullptr);
        closingLines(item, true);
        return true;
    }
    bool result = true;
    if (_services.cancel.pending()) {
        result = _services.cancel.returnValue();
    } else if (!there || !nameIsRefused(item, local, item.drive.substr(_services.paths.target().size()))) {
        bool usable = true;
        const auto drive = lookOnDrive(item.drive, usable);
        if (!usable) {
            _services.tally.fail(item.local, OwedReason::failed);
            noteNotLookedInto(item.drive);
            result = !_driveGone; // otherwise the next item may be readable
        } else {
            const Answer answer = compare(item, local, drive ? &*drive : nullptr);
            if (answer == Answer::descend) return walk(frameFor(item, local));
            result = answer == Answer::yes;
        }
    }
    closingLines(item, result);
    return result;
}

bool ItemComparison::nameIsRefused(const Item& item, Index local, std::string_view names) {
    if (_services.refusedNames == nullptr || !_services.refusedNames->refuses(names)) return false;
    _services.refusedNames->leaveOut(item.local, _services.snapshot.estimate(local));
    return true;
}

std::optional<FileAttributes> ItemComparison::lookOnDrive(const std::string& path, bool& usable) {
    auto attributes = _services.files.attributes(path);
    if (attributes) return *attributes;
    usable = attributes.code() == ENOENT || attributes.code() == ENOTDIR;
    _driveGone = attributes.code() == ENODEV;
    if (!usable) _services.log.logLine("Unable to look at \"%1$@\" - %2$@.", shown(path), attributes.error().text);
    return std::nullopt;
}

ItemComparison::Answer ItemComparison::compare(const Item& item, Index local, const FileAttributes* drive) {
    if (local == ComputerSnapshot::none) {
        if (drive == nullptr) {
            _services.log.debugLine("-\n-: unable to sync \"%@\" with \"%@\" because it does not exist on either the "
                                    "Mac or the Pushkey.",
                                    shown(item.local), shown(item.drive));
        } else {
            _services.log.debugLine("-\n-: skipping Pushkey item \"%@\"", shown(item.drive));
            noteDoubt(item.drive, *drive);
            ++_services.tally.driveOnly;
        }
        return Answer::yes;
    }
    if (_services.snapshot.leftOut(local)) {
        _services.log.logLine("\"%@\" is a drive of its own and is left out.", shown(item.local));
        noteNotLookedInto(item.drive);
        return Answer::yes;
    }
    if (drive == nullptr) return onlyOnComputer(item, local);

    const FileKind kind = _services.snapshot.kind(local);
    const bool localFolder = isPlainFolder(item.local, kind);
    const bool driveFolder = isPlainFolder(item.drive, drive->kind);
    if (localFolder && driveFolder) {
        _services.log.debugLine("-\n-: items are directories - recursing");
        return Answer::descend;
    }
    if (localFolder != driveFolder || (kind == FileKind::directory) != drive->isDirectory()) {
        _services.log.debugLine("                : Mac file type         : %@\n"
                                "                : Pushkey file type    : %@\n"
                                "                : skipping because file types do not match.",
                                typeName(kind), typeName(drive->kind));
        _services.log.logLine("\"%1$@\" and \"%2$@\" are not of the same kind.", shown(item.local), shown(item.drive));
        return Answer::no;
    }
    if (_services.cancel.pending()) return _services.cancel.returnValue() ? Answer::yes : Answer::no;
    return compareFiles(item, local, *drive);
}

ItemComparison::Answer ItemComparison::onlyOnComputer(const Item& item, Index local) {
    const ScanEntry entry = entryFor(item, local, entrytype::onlyOnComputer, action::toDrive);
    if (_services.log.debugEnabled())
        _services.log.debugLine("-\n-: copying local: \"%@\"\n-:   to Pushkey: \"%@\"",
                                shown(workPath(_localWork, item.drive)), shown(item.drive));
    return add(entry) ? Answer::yes : Answer::no;
}

ItemComparison::Answer ItemComparison::compareFiles(const Item& item, Index local, const FileAttributes& drive) {
    const bool package = drive.isDirectory();
    if (!package && drive.size == _services.snapshot.size(local))
        _dateShift.note(_services.snapshot.modified(local), drive.modified);
    return decide(item, local, drive, _services.snapshot.newestFileDate(local),
                  package ? newestOnDrive(item.drive, drive) : drive.modified);
}

ItemComparison::Answer ItemComparison::decide(const Item& item, Index local, const FileAttributes& drive,
                                              Date localDate, Date driveDate) {
    const FileDecision decision = compareFileDates(localDate, driveDate, _lastSync);
    const bool doubtful = _services.doubts != nullptr && _services.doubts->mayBeShort(item.drive, drive);
    if (doubtful) _services.tally.stillInDoubt.emplace(item.drive, drive.modified);
    const bool toDrive = doubtful || decision.verdict == FileVerdict::toDrive;
    const auto complete = [&](ScanEntry entry) {
        entry.localFileModDate = localDate;
        entry.pushkeyFileBackupDate = syncBackupDateFor(item.drive);
        entry.pushkeyFileModDate = driveDate;
        entry.pushkeyFileSize = static_cast<std::int64_t>(drive.size);
        return entry;
    };
    if (!doubtful && decision.verdict == FileVerdict::present) {
        FileAttributes known = _services.snapshot.attributes(local);
        known.modified = localDate;
        const auto replaced = replacedType(item, known, drive);
        const bool isItsCopy =
            _services.recent != nullptr && drive.size == known.size && _services.recent->isCopyOf(item.drive, known);
        if (replaced || _services.owed.wants(item.local, known, driveDate, isItsCopy))
            _owedEntries.add(complete(entryFor(
                item, local, replaced.value_or(orBothSides(item, entrytype::changedOnOneSide)), action::toDrive)));
        else
            _services.progress.accumulateSkipPresentData(_services.snapshot.estimate(local));
        return Answer::yes;
    }
    if (_services.log.debugEnabled()) {
        _services.log.debugLine("-\n-:    local mod date : %@\n-: Pushkey mod date : %@\n-:      lastSyncTime : %@\n"
                                "-:          modDelta : %f",
                                localDate.standardText(), driveDate.standardText(),
                                _lastSync ? _lastSync->standardText() : std::string("(null)"), decision.modDelta);
        const std::string older = toDrive ? item.drive : item.local;
        const std::string newer = toDrive ? item.local : item.drive;
        _services.log.debugLine("-\n-: replacing older %@ file %@\n-: with newer %@ file %@",
                                toDrive ? "Pushkey" : "local   ", shown(older), toDrive ? "local   " : "Pushkey",
                                shown(newer));
    }
    const unsigned type = doubtful  ? doubtfulType(item, decision, localDate, driveDate)
                          : toDrive ? orBothSides(item, decision.syncEntryType)
                                    : decision.syncEntryType;
    ScanEntry entry = complete(entryFor(item, local, type, toDrive ? action::toDrive : action::driveIsNewer));
    if (!toDrive) {
        entry.localPath = workPath(_localWork, item.drive);
        entry.pushkeyPath = item.drive;
    }
    return add(entry) ? Answer::yes : Answer::no;
}

unsigned ItemComparison::orBothSides(const Item& item, unsigned type) const {
    return _services.owed.changedOnBothSides(item.local) ? entrytype::changedOnBothSides : type;
}

unsigned ItemComparison::doubtfulType(const Item& item, const FileDecision& decision, Date localDate,
                                      Date driveDate) const {
    const std::int64_t later = driveDate.nanoseconds() - localDate.nanoseconds();
    const std::int64_t granularity = std::max<std::int64_t>(_services.dateGranularity, 1);
    // The computer's version, as long as the drive may have kept its date less exactly.
    if (std::abs(later) < granularity) return entrytype::changedOnOneSide;
    if (later > 0) return entrytype::changedOnBothSides;
    return orBothSides(item,
                       decision.verdict == FileVerdict::toDrive ? decision.syncEntryType : entrytype::changedOnOneSide);
}

std::optional<unsigned> ItemComparison::replacedType(const Item& item, const FileAttributes& local,
                                                     const FileAttributes& drive) {
    if (_services.copied == nullptr || !local.isRegular() || !drive.isRegular()) return std::nullopt;
    const auto copied = _services.copied->copiedTo(item.drive);
    if (!copied || (copied->size == local.size && copied->modified == local.modified)) return std::nullopt;
    // A copy that changed on the drive as well is set aside when it is replaced.
    const std::int64_t off = copied->modified.nanoseconds() - drive.modified.nanoseconds();
    const bool asCopied = drive.size == copied->size && std::abs(off) <= _services.dateGranularity;
    return asCopied ? entrytype::changedOnOneSide : entrytype::changedOnBothSides;
}

ScanEntry ItemComparison::entryFor(const Item& item, Index local, unsigned type, unsigned action) const {
    ScanEntry entry;
    entry.localPath = item.local;
    entry.pushkeyPath = workPath(_driveWork, item.drive);
    entry.localFileModDate = _services.snapshot.modified(local);
    entry.localFileSize = static_cast<std::int64_t>(_services.snapshot.size(local));
    entry.syncEntryType = type;
    entry.actionToPerform = action;
    entry.package = _services.snapshot.isDirectory(local);
    entry.drivePath = item.drive;
    entry.computerPath = item.local;
    return entry;
}

bool ItemComparison::add(const ScanEntry& entry) {
    // Two sync items that overlap, or two names that are one on the drive: the first one is carried out.
    if (!_services.results.addUnlessCovered(entry) && !_rule.caseSensitive())
        _services.log.logLine("\"%@\" is left out: the drive already gets an item of that name.",
                              shown(entry.computerPath));
    return true;
}

void ItemComparison::addOwedEntries() {
    for (CompactEntries::Index i = 0; i < _owedEntries.size(); ++i) add(_owedEntries.at(i));
    _owedEntries.clear();
}

void ItemComparison::logDateShift() {
    if (const auto minutes = _dateShift.minutes())
        _services.log.logLine("The dates on \"%1$@\" differ from the computer's by %2$d minutes throughout: the drive "
                              "keeps local time, and a clock or time zone has changed.",
                              shown(_services.paths.target()), *minutes);
}

std::string ItemComparison::workPath(const std::string& work, const std::string& drive) const {
    return work + drive.substr(_services.paths.target().size());
}

Date ItemComparison::newestOnDrive(const std::string& package, const FileAttributes& attributes) {
    Date newest = Date::missing();
    bool found = false;
    visitTree(_services.files, package, [&](const std::string&, const DirectoryEntry& entry) {
        if (!entry.attributes.isRegular()) return;
        newest = std::max(newest, entry.attributes.modified);
        found = true;
    });
    return found ? newest : attributes.modified;
}

void ItemComparison::skipFiltered(const Item& item, Index local, const FileAttributes* drive) {
    if (_services.cancel.pending()) return; // everything is refused then, and nothing of it says anything
    const std::uint64_t bytes = local == ComputerSnapshot::none ? 0 : _services.snapshot.estimate(local);
    _services.progress.accumulateSkipFilteredData(bytes);
    _services.tally.filter(bytes);
    // An older copy stays on the drive: once the filter lets the file through again, the drive is owed it.
    if (drive != nullptr && local != ComputerSnapshot::none && _services.snapshot.modified(local) > drive->modified)
        _services.tally.leftOut.emplace(item.local, OwedReason::filtered);
    if (drive != nullptr) noteDoubt(item.drive, *drive);
}

void ItemComparison::noteDoubt(const std::string& path, const FileAttributes& present) {
    if (present.isDirectory())
        noteNotLookedInto(path);
    else if (present.isRegular() && _services.doubts != nullptr && _services.doubts->mayBeShort(path, present))
        _services.tally.stillInDoubt.emplace(path, present.modified);
}

void ItemComparison::noteNotLookedInto(const std::string& path) {
    if (_services.doubts != nullptr && !_services.doubts->none()) _services.tally.didNotLookInto(path);
}

void ItemComparison::closingLines(const Item& item, bool result) const {
    if (!_services.log.debugEnabled()) return;
    if (!result) std::fputs("rval == NO\n", stderr);
    _services.log.debugLine("-\n-: comparing \"%@\"\n-:          to \"%@\"\n-:     returning %s", shown(item.local),
                            shown(item.drive), result ? "YES" : "NO");
}

} // namespace vt
