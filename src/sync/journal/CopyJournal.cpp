#include "sync/journal/CopyJournal.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/FileCreation.h"

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

namespace vt {
namespace {

constexpr std::uint64_t groupBytes = 256ULL * 1024 * 1024;
constexpr std::chrono::seconds groupAge{5};
constexpr std::chrono::seconds lookEvery{1}; // a look at each copy would be felt
constexpr std::uint64_t largestJournal = 1024ULL * 1024 * 1024;
constexpr double clockSlack = 2.0; // seconds: the drive's dates may be that coarse
constexpr std::uint32_t folderMode = 0700;
constexpr std::uint32_t fileMode = 0600;
constexpr const char* leftoversName = "leftovers";
constexpr std::string_view groupPrefix = "group-";
constexpr std::string_view unreadPrefix = "group-0-"; // what could not be read
constexpr const char* earlierBoot = "earlier";        // whichever it was, it is over

// The merged file before the groups as they were written, and what an earlier pass could not read before both: of two
// copies of one file the later date counts.
int readingOrder(std::string_view name) {
    if (name.starts_with(unreadPrefix)) return 0;
    return name == leftoversName ? 1 : 2;
}

bool isBelowAny(const std::string& path, const std::vector<std::string>& items) {
    return std::any_of(items.begin(), items.end(),
                       [&](const std::string& item) { return paths::isAtOrBelow(path, item); });
}

// As many look-ups as `path` has components: both may be many.
bool isBelowAny(const std::string& below, const std::set<std::string>& places) {
    std::string path = paths::join(below, ""); // a sync item may end with a slash
    while (path.size() > 1 && !places.contains(path)) path = paths::parent(path);
    return places.contains(path);
}

std::optional<Date> dateIn(const std::map<std::string, Date>& dates, const std::string& path) {
    const auto found = dates.find(path);
    if (found == dates.end()) return std::nullopt;
    return found->second;
}

// What of a group stays in doubt after a pass over `items`; true when that is not the same as before.
bool narrow(std::vector<std::string>& group, const std::vector<std::string>& items,
            const std::set<std::string>& notLookedInto) {
    std::vector<std::string> left;
    for (const std::string& item : group) {
        if (!isBelowAny(item, items) || isBelowAny(item, notLookedInto))
            left.push_back(item);
        else
            for (auto place = notLookedInto.lower_bound(item); place != notLookedInto.end() && place->starts_with(item);
                 ++place)
                if (paths::isAtOrBelow(*place, item)) left.push_back(*place);
    }
    const bool changed = left != group;
    group = std::move(left);
    return changed;
}

} // namespace

CopyJournal::CopyJournal(std::string folder, Services services)
    : _folder(std::move(folder)), _services(std::move(services)) {}

const CopyJournal::Leftovers& CopyJournal::beginPass(std::vector<std::string> items) {
    finishRunningFlush();
    if (_open) _closed.push_back(_open->record);
    _open.reset();
    lookAfterRecords();
    if (_flushFailed) _closed.clear();
    _items = std::move(items);
    _complained = false;
    _flushFailed.reset();
    // What is known to be in doubt stays so, even if somebody has removed the file that says it.
    bool toWrite = !_leftovers.files.empty() || !_leftovers.groups.empty();
    _unreadInPlace = false;
    std::vector<std::string> merged; // the groups whose names the merged file is to hold
    if (auto names = _services.files.listNames(_folder)) {
        std::sort(names->begin(), names->end(), [](const std::string& a, const std::string& b) {
            return std::pair(readingOrder(a), a) < std::pair(readingOrder(b), b);
        });
        for (const auto& name : *names) {
            const bool group = name.starts_with(groupPrefix);
            const std::string path = paths::join(_folder, name);
            if ((!group && name != leftoversName) || waitsForFlush(path)) continue;
            if (!readEarlierGroup(path))
                keepUnread(name);
            else if (group)
                merged.push_back(path);
            else
                toWrite = false;
        }
    }
    // What could not be merged is read again next time.
    if ((toWrite || !merged.empty()) && writeLeftovers())
        for (const auto& path : merged) _services.files.remove(path, {}).ignore();
    return _leftovers;
}

bool CopyJournal::readEarlierGroup(const std::string& path) {
    const auto text = _services.contents.read(path, largestJournal);
    if (!text) {
        complain(text.error());
        return false;
    }
    // The merged file holds one block per earlier start of the computer.
    std::size_t at = 0;
    while (at < text->size()) {
        std::size_t next = text->find("\nboot ", at);
        next = next == std::string::npos ? text->size() : next + 1;
        const JournalGroup group = journaltext::parse(std::string_view(*text).substr(at, next - at));
        for (const auto& [file, written] : group.files) {
            _leftovers.files[file] = written;
            _leftovers.replaced.erase(file); // what an earlier copy of it was to replace
            if (const auto replaced = group.replaced.find(file); replaced != group.replaced.end())
                _leftovers.replaced.insert(*replaced);
        }
        if (group.bootId != _services.bootId && !group.items.empty()) addLeftoverGroup({group.items, group.start});
        at = next;
    }
    return true;
}

// Writing what is known would take the place of a merged file that is not. Like a group it gets a name under which it
// is tried before all that is written from now on. A file that has gone meanwhile needs none.
void CopyJournal::keepUnread(const std::string& name) {
    if (name.starts_with(unreadPrefix)) return;
    int code = EEXIST;
    for (int number = 0; code == EEXIST; ++number)
        code = _services.files
                   .move(paths::join(_folder, name),
                         paths::join(_folder, std::string(unreadPrefix) + std::to_string(number)), Replace::never)
                   .code();
    if (name == leftoversName && code != 0 && code != ENOENT) _unreadInPlace = true;
}

bool CopyJournal::waitsForFlush(const std::string& path) const {
    return std::any_of(_closed.begin(), _closed.end(), [&](const Record& record) { return record.path == path; });
}

void CopyJournal::addLeftoverGroup(Leftovers::Group group) {
    auto& groups = _leftovers.groups;
    if (std::find(groups.begin(), groups.end(), group) == groups.end()) groups.push_back(std::move(group));
}

bool CopyJournal::writeLeftovers() {
    if (_unreadInPlace) return false;
    const std::string path = paths::join(_folder, leftoversName);
    if (_leftovers.files.empty() && _leftovers.groups.empty()) {
        _services.files.remove(path, {}).ignore();
        return true;
    }
    makeFolder();
    JournalGroup names;
    names.bootId = _services.bootId;
    names.files = _leftovers.files;
    names.replaced = _leftovers.replaced;
    std::string text = journaltext::whole(names);
    for (const auto& [items, start] : _leftovers.groups) {
        JournalGroup group;
        group.bootId = earlierBoot;
        group.items = items;
        group.start = start;
        text += journaltext::header(group);
    }
    const auto written = _services.contents.writeAtomically(path, text, fileMode);
    if (!written) complain(written.error());
    return written.ok();
}

std::optional<Date> CopyJournal::dateGiven(const std::string& path) const {
    return dateIn(_leftovers.files, path);
}

std::optional<Date> CopyJournal::dateReplaced(const std::string& path) const {
    return dateIn(_leftovers.replaced, path);
}

void CopyJournal::settle(const std::vector<std::string>& items, const std::map<std::string, Date>& stillInDoubt,
                         const std::set<std::string>& notLookedInto) {
    if (_leftovers.files.empty() && _leftovers.groups.empty()) return;
    std::size_t changes = std::erase_if(_leftovers.files, [&](const auto& file) {
        return isBelowAny(file.first, items) && !stillInDoubt.contains(file.first) &&
               !isBelowAny(file.first, notLookedInto);
    });
    std::erase_if(_leftovers.replaced, [&](const auto& file) { return !_leftovers.files.contains(file.first); });
    for (auto& group : _leftovers.groups) changes += narrow(group.items, items, notLookedInto) ? 1U : 0U;
    uniteLeftoverGroups();
    for (const auto& file : stillInDoubt) changes += _leftovers.files.insert(file).second ? 1U : 0U;
    if (changes != 0) (void)writeLeftovers();
}

// The earliest of several that speak for the same: a folder that never comes back would collect them for ever.
void CopyJournal::uniteLeftoverGroups() {
    auto& groups = _leftovers.groups;
    std::erase_if(groups, [](const Leftovers::Group& group) { return group.items.empty(); });
    std::sort(groups.begin(), groups.end(),
              [](const auto& a, const auto& b) { return std::tie(a.items, a.start) < std::tie(b.items, b.start); });
    const auto same = [](const auto& a, const auto& b) { return a.items == b.items; };
    groups.erase(std::unique(groups.begin(), groups.end(), same), groups.end());
}

void CopyJournal::beforeCopy() {
    if (!_open) open();
}

void CopyJournal::open() {
    OpenGroup opened;
    opened.record.items = _items;
    opened.record.start = _services.clock.now().plusSeconds(-clockSlack);
    opened.record.path =
        paths::join(_folder, std::string(groupPrefix) + std::to_string(opened.record.start.nanoseconds()) + "-" +
                                 std::to_string(_groupsOpened++));
    opened.opened = _services.clock.steady();
    opened.seen = opened.opened;
    makeFolder();
    writeRecord(opened.record, _services.bootId);
    _open = std::move(opened);
    openNames();
}

void CopyJournal::makeFolder() {
    if (!createDirectoryAtPath(_services.files, _folder, &folderMode, true, false))
        complain(Error::fromErrno(ENOENT, _folder));
}

void CopyJournal::writeRecord(const Record& record, const std::string& bootId) {
    JournalGroup group;
    group.bootId = bootId;
    group.start = record.start;
    group.items = record.items;
    const auto written = _services.contents.writeAtomically(record.path, journaltext::header(group), fileMode);
    if (!written) complain(written.error());
}

void CopyJournal::openNames() {
    auto names = _services.contents.appender(_open->record.path);
    if (!names) complain(names.error());
    _open->names = names ? std::move(*names) : nullptr;
}

void CopyJournal::lookAfterRecords() {
    for (const Record& record : _closed) (void)restoreRecord(record);
    if (!_open) return;
    if (restoreRecord(_open->record)) openNames();
    _open->seen = _services.clock.steady();
}

// Its names are lost with it. In their place the new record speaks for everything since the group began, as one of an
// earlier start of the computer does.
bool CopyJournal::restoreRecord(const Record& record) {
    const int code = _services.files.attributes(record.path).code();
    if (code != ENOENT && code != ENOTDIR) return false;
    complain(Error::fromErrno(code, record.path));
    makeFolder();
    writeRecord(record, earlierBoot);
    return true;
}

void CopyJournal::afterCopy(const std::string& path, Date written, std::uint64_t bytes, std::optional<Date> replaced) {
    ++_changes;
    ++_copies;
    if (!_open) open();
    if (_open->names)
        if (const auto noted = _open->names->append(journaltext::fileLines(path, written, replaced)); !noted)
            complain(noted.error());
    _open->bytes += bytes;
    if (_thread.done()) finishRunningFlush();
    if (_services.clock.steady() - _open->seen >= lookEvery) lookAfterRecords();
    if (_open->bytes >= groupBytes || _services.clock.steady() - _open->opened >= groupAge) closeGroup();
}

void CopyJournal::closeGroup() {
    finishRunningFlush();
    _closed.push_back(_open->record);
    _open.reset();
    _running = Running{_changes, _copies, _closed};
    _thread.start(_services.flushDrive);
}

void CopyJournal::finishRunningFlush() {
    if (!_thread.running()) return;
    const auto flushed = _thread.finish();
    const Running covering = std::move(*_running);
    _running.reset();
    flushEnded(flushed, covering);
}

Result<void> CopyJournal::flushBeforeReplacing() {
    if (_copies != _copiesFlushed) flushNow();
    if (_flushFailed) return *_flushFailed;
    return {};
}

Result<void> CopyJournal::flush() {
    finishRunningFlush();
    if (_changes != _changesFlushed) flushNow();
    if (_flushFailed) return *_flushFailed;
    return {};
}

void CopyJournal::flushNow() {
    finishRunningFlush();
    if (_open) _closed.push_back(_open->record);
    _open.reset();
    flushEnded(_services.flushDrive(), {_changes, _copies, _closed});
}

// The system tells of a lost write once only, so what a failed flush should have covered stays in doubt whatever a
// later one says: the records stay where the next pass finds them.
void CopyJournal::flushEnded(const Result<void>& flushed, const Running& covering) {
    _changesFlushed = covering.changes;
    _copiesFlushed = covering.copies;
    if (!flushed) {
        if (!_flushFailed)
            _services.logLine(localisedText("The drive could not be flushed - %@.", {flushed.error().text}));
        _flushFailed = flushed.error();
    }
    for (const Record& record : covering.groups) {
        if (flushed)
            _services.files.remove(record.path, {}).ignore();
        else
            (void)restoreRecord(record);
        std::erase_if(_closed, [&](const Record& closed) { return closed.path == record.path; });
    }
}

void CopyJournal::complain(const Error& error) {
    if (!_complained) _services.logLine(localisedText("The copy journal failed - %@.", {error.describe()}));
    _complained = true;
}

} // namespace vt
