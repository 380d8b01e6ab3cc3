#include "Model.h"

#include <algorithm>
#include <utility>

namespace vt::model {

namespace {

constexpr std::int64_t second = 1'000'000'000;

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::int64_t roundedDown(std::int64_t date, std::int64_t step) {
    std::int64_t rest = date % step;
    if (rest < 0) rest += step;
    return date - rest;
}

struct Decision {
    std::string local;
    std::string target; // on the drive
    bool toDrive = true;
    bool bothChanged = false;
    bool completes = false; // the drive has this version of a package, but not all of it
    bool enabled = true;
};

// One pass: first what is to be done, then doing it.
class Pass {
  public:
    Pass(User& user, const Tree& computer, const Tree& drive, const Request& request)
        : _user(user), _computer(computer), _before(drive), _request(request) {
        _outcome.drive = drive;
    }
    Outcome run();

  private:
    struct Choice {
        std::string path;
        std::string item;
    };
    [[nodiscard]] std::vector<Choice> choose() const;
    [[nodiscard]] std::vector<Choice> chooseChanged(const std::vector<std::string>& sorted) const;
    [[nodiscard]] const std::string* holderOf(const std::string& form) const;
    bool compare(const std::string& local);
    bool compareFolder(const std::string& local);
    void compareFiles(const std::string& local, const std::string& target);
    [[nodiscard]] bool isOwed(const std::string& local, std::int64_t localDate, std::int64_t driveDate) const;
    [[nodiscard]] bool isKnownCopy(const std::string& local, const std::string& target) const;
    [[nodiscard]] bool mayBeKnownCopy(const std::string& local, const std::string& target) const;
    void noteCopy(const std::string& local, const std::string& target);
    void decide(Decision decision);
    void carryOut(const Decision& decision);
    void copyInto(Tree& staged, const std::string& local, const std::string& target);
    bool place(Tree& staged, const std::string& local, const std::string& target);
    void archive(const std::string& target);
    void removeFromDrive(const std::string& target);
    [[nodiscard]] bool unreadable(const std::string& local) const;
    void remember(const std::vector<Choice>& chosen, bool walked);

    User& _user;
    const Tree& _computer;
    const Tree& _before;
    const Request& _request;
    Outcome _outcome;
    std::optional<std::int64_t> _covered;
    std::int64_t _recentSince = 0;
    std::vector<Decision> _decisions;
    std::vector<Decision> _owedDecisions;
    std::set<std::string> _failed;
    std::set<std::string> _perhapsKnown;
    bool _incomplete = false;
};

std::vector<Pass::Choice> Pass::choose() const {
    std::vector<Choice> chosen;
    if (!_request.paths) {
        for (const auto& item : _user.list) chosen.push_back({item, item});
        return chosen;
    }
    auto sorted = *_request.paths;
    std::sort(sorted.begin(), sorted.end());
    return chooseChanged(sorted);
}

std::vector<Pass::Choice> Pass::chooseChanged(const std::vector<std::string>& sorted) const {
    std::vector<Choice> chosen;
    for (std::size_t first = 0, next = 0; first < sorted.size(); first = next) {
        const std::string& kept = sorted[first];
        for (next = first; next < sorted.size() && sorted[next].compare(0, kept.size(), kept) == 0;) ++next;
        const std::string form = _user.shortForm(kept);
        if (const std::string* holder = holderOf(form)) {
            chosen.push_back({form, *holder});
            continue;
        }
        // It is no item's, but what lies below it may be.
        std::vector<std::string> below;
        for (std::size_t i = first + 1; i < next; ++i)
            if (sorted[i] != kept && isAtOrBelow(sorted[i], kept)) below.push_back(sorted[i]);
        for (auto& choice : chooseChanged(below)) chosen.push_back(std::move(choice));
    }
    return chosen;
}

// The innermost item that it lies in, else the first whose text it begins with.
const std::string* Pass::holderOf(const std::string& form) const {
    const std::string* holder = nullptr;
    for (const auto& item : _user.list) {
        if (form.compare(0, item.size(), item) != 0) continue;
        if (holder == nullptr) holder = &item;
        if (!isAtOrBelow(form, item)) continue;
        if (!isAtOrBelow(form, *holder) || item.size() >= holder->size()) holder = &item;
    }
    return holder;
}

Outcome Pass::run() {
    const auto chosen = choose();
    if (_request.paths && chosen.empty()) {
        _outcome.success = true;
        _outcome.lookedAtNothing = true;
        return _outcome;
    }
    // A list item that is gone takes its memory with it.
    std::erase_if(_user.coveredThrough, [&](const auto& covered) {
        return std::find(_user.list.begin(), _user.list.end(), covered.first) == _user.list.end();
    });
    _recentSince = _request.now - 2 * second;
    for (const auto& [item, date] : _user.coveredThrough) _recentSince = std::min(_recentSince, date);
    for (const auto& choice : chosen) _outcome.size += sizeOf(_computer, _user.local(choice.path));
    for (const auto& choice : chosen) {
        const std::string local = _user.local(choice.path);
        const auto covered = _user.coveredThrough.find(choice.item);
        _covered = covered == _user.coveredThrough.end() ? std::nullopt : std::optional(covered->second);
        if (!_computer.contains(local)) continue;
        if (!_user.accepts(_computer, local)) {
            _outcome.filtered += sizeOf(_computer, local);
            continue;
        }
        if (!compare(local)) {
            remember(chosen, false);
            return _outcome;
        }
    }
    for (auto& decision : _owedDecisions) decide(decision);
    for (const auto& decision : _decisions)
        if (decision.enabled) carryOut(decision);
    _outcome.success = true;
    _user.lastSync = roundedDown(_request.now, second);
    remember(chosen, true);
    return _outcome;
}

bool Pass::compare(const std::string& local) {
    const std::string target = _user.onDrive(local);
    const auto found = _before.find(target);
    if (found == _before.end()) {
        decide({local, target});
        return true;
    }
    const bool folder = isPlainFolder(_computer, local);
    if (folder != isPlainFolder(_before, target)) return false;
    if (folder) return compareFolder(local);
    if ((_computer.at(local).kind == Kind::folder) != (found->second.kind == Kind::folder)) return false;
    compareFiles(local, target);
    return true;
}

bool Pass::compareFolder(const std::string& local) {
    for (const auto& child : childrenOf(_computer, local)) {
        if (_computer.at(child).kind == Kind::link || !_user.accepts(_computer, child)) {
            _outcome.filtered += sizeOf(_computer, child);
            // An older copy of what is refused today is owed, should the filter let it through one day.
            const auto copy = _before.find(_user.onDrive(child));
            if (copy != _before.end() && copy->second.date < _computer.at(child).date) _failed.insert(child);
            continue;
        }
        if (!compare(child)) return false;
    }
    return true;
}

void Pass::compareFiles(const std::string& local, const std::string& target) {
    const std::int64_t mine = newestDate(_computer, local);
    const std::int64_t theirs = newestDate(_before, target);
    const bool mineChanged = _user.lastSync && mine > *_user.lastSync;
    const bool theirsChanged = _user.lastSync && theirs > *_user.lastSync;
    const bool stillBoth = _user.onBothSides.contains(local);
    const bool completes =
        _computer.at(local).kind == Kind::folder && mine >= theirs && mine - theirs < _user.granularity;
    if ((_user.lastSync && !mineChanged && !theirsChanged) || mine == theirs) {
        if (isOwed(local, mine, theirs)) {
            if (mayBeKnownCopy(local, target)) {
                _outcome.perhapsPresent += sizeOf(_computer, local);
                if (_perhapsKnown.insert(local).second) _outcome.perhapsNotCopied += sizeOf(_computer, local);
            }
            _owedDecisions.push_back({local, target, true, stillBoth, completes});
        } else {
            _outcome.present += sizeOf(_computer, local);
        }
        return;
    }
    decide({local, target, mine > theirs, stillBoth || (mineChanged && theirsChanged), completes});
}

bool Pass::isOwed(const std::string& local, std::int64_t localDate, std::int64_t driveDate) const {
    if (!_user.remembered) return false;
    const bool marked =
        std::any_of(_user.owed.begin(), _user.owed.end(), [&](const auto& path) { return isAtOrBelow(local, path); });
    if (localDate < driveDate) return false;
    // The newest date of a package says nothing of another file in it.
    if (localDate == driveDate)
        return _computer.at(local).kind == Kind::folder &&
               std::any_of(_user.owed.begin(), _user.owed.end(),
                           [&](const auto& path) { return isAtOrBelow(path, local); });
    if (localDate - driveDate <= _user.granularity && isKnownCopy(local, _user.onDrive(local))) return marked;
    if (!_covered || *_covered > _request.now || localDate > *_covered) return true;
    if (localDate - driveDate > _user.granularity && _computer.at(local).changed > *_covered) return true;
    return marked;
}

bool Pass::isKnownCopy(const std::string& local, const std::string& target) const {
    const Item& mine = _computer.at(local);
    const auto known = _user.recent.find(target);
    return !_user.vague && known != _user.recent.end() && _before.at(target).content.size() == mine.content.size() &&
           known->second == User::Version{mine.content.size(), mine.date, mine.changed};
}

bool Pass::mayBeKnownCopy(const std::string& local, const std::string& target) const {
    const Item& mine = _computer.at(local);
    const Item& theirs = _before.at(target);
    return _user.vague && mine.kind == Kind::file && theirs.content == mine.content &&
           mine.date - theirs.date <= _user.granularity;
}

void Pass::noteCopy(const std::string& local, const std::string& target) {
    const Item& mine = _computer.at(local);
    if (mine.kind == Kind::file && mine.date > _recentSince)
        _user.recent[target] = {mine.content.size(), mine.date, mine.changed};
    else
        _user.recent.erase(target);
}

// What lies in or around something that is already to be copied is carried out once.
void Pass::decide(Decision decision) {
    for (auto& other : _decisions)
        if (isAtOrBelow(decision.target, other.target)) return;
    for (auto& other : _decisions)
        if (isAtOrBelow(other.target, decision.target)) other.enabled = false;
    _decisions.push_back(std::move(decision));
}

void Pass::carryOut(const Decision& decision) {
    if (!decision.toDrive) {
        archive(decision.target);
        return;
    }
    if (_computer.at(decision.local).kind == Kind::link) return;
    Tree staged;
    _incomplete = false;
    copyInto(staged, decision.local, decision.target);
    const auto present = _outcome.drive.find(decision.target);
    if (present != _outcome.drive.end()) {
        const auto arrived = staged.find(decision.target);
        if (arrived == staged.end()) return; // it could not be read
        if (decision.completes && _incomplete) return;
        const bool same = arrived->second.kind == Kind::file && present->second.kind == Kind::file &&
                          arrived->second.date == present->second.date &&
                          arrived->second.content.size() == present->second.content.size();
        if ((decision.bothChanged || _incomplete) && !same)
            archive(decision.target);
        else
            removeFromDrive(decision.target);
    }
    for (auto& [path, item] : staged) _outcome.drive[path] = item;
}

// Into a place where nothing is: a folder with everything in it that the filter lets through, a package whole.
void Pass::copyInto(Tree& staged, const std::string& local, const std::string& target) {
    if (!isPlainFolder(_computer, local)) {
        _outcome.copied += sizeOf(_computer, local);
        if (place(staged, local, target))
            noteCopy(local, target);
        else
            _failed.insert(local);
        return;
    }
    Tree inside;
    for (const auto& child : childrenOf(_computer, local)) {
        if (!_user.accepts(_computer, child))
            _outcome.filtered += sizeOf(_computer, child);
        else
            copyInto(inside, child, target + "/" + nameOf(child));
    }
    if (inside.empty()) return;
    staged[target].kind = Kind::folder;
    staged.merge(inside);
}

bool Pass::place(Tree& staged, const std::string& local, const std::string& target) {
    const Item& source = _computer.at(local);
    if (source.kind == Kind::file && unreadable(local)) return false;
    if (source.kind == Kind::link && !_user.holdsLinks) return true;
    Item copy = source;
    copy.date = roundedDown(source.date, _user.granularity);
    staged[target] = copy;
    if (source.kind != Kind::folder) return true;
    bool whole = true;
    for (const auto& child : childrenOf(_computer, local))
        whole = place(staged, child, target + "/" + nameOf(child)) && whole;
    _incomplete = _incomplete || !whole;
    return whole;
}

void Pass::archive(const std::string& target) {
    const std::string place =
        _user.mountPoint + "/Archived Vantaro Backups/" + _request.day + target.substr(_user.mountPoint.size());
    std::string free = place;
    for (int n = 1; _outcome.drive.contains(free); ++n) free = place + " -" + std::to_string(n);
    Tree moved;
    for (const auto& [path, item] : _outcome.drive)
        if (isAtOrBelow(path, target)) moved[free + path.substr(target.size())] = item;
    removeFromDrive(target);
    _outcome.drive.merge(moved);
}

void Pass::removeFromDrive(const std::string& target) {
    std::erase_if(_outcome.drive, [&](const auto& item) { return isAtOrBelow(item.first, target); });
}

bool Pass::unreadable(const std::string& local) const {
    return std::any_of(_request.unreadable.begin(), _request.unreadable.end(),
                       [&](const auto& path) { return isAtOrBelow(local, path); });
}

void Pass::remember(const std::vector<Choice>& chosen, bool walked) {
    if (!walked && _decisions.empty() && _failed.empty()) return;
    _user.remembered = true;
    if (walked)
        for (const auto& choice : chosen)
            std::erase_if(_user.owed, [&](const auto& path) { return isAtOrBelow(path, _user.local(choice.path)); });
    for (const auto& decision : _decisions)
        if (!walked && decision.enabled && decision.toDrive) _user.owed.insert(decision.local);
    _user.owed.insert(_failed.begin(), _failed.end());
    for (const auto& decision : _decisions)
        if (decision.enabled && decision.toDrive && decision.bothChanged) _user.onBothSides.insert(decision.local);
    std::erase_if(_user.onBothSides, [&](const auto& path) {
        return std::none_of(_user.owed.begin(), _user.owed.end(),
                            [&](const auto& owed) { return isAtOrBelow(owed, path) || isAtOrBelow(path, owed); });
    });
    if (!walked) return;
    for (const auto& choice : chosen)
        if (choice.path == choice.item) _user.coveredThrough[choice.item] = _request.now - 2 * second;
}

} // namespace

std::string User::local(const std::string& item) const {
    return item[0] == '~' ? home + item.substr(1) : item;
}

std::string User::shortForm(const std::string& path) const {
    return isAtOrBelow(path, home) ? "~" + path.substr(home.size()) : path;
}

std::string User::onDrive(const std::string& localPath) const {
    return isAtOrBelow(localPath, home) ? copies + localPath.substr(home.size()) : mountPoint + localPath;
}

// Plain folders pass; packages and files by their names; a link by what it leads to, which in these stories is either
// a file of an accepted kind or nothing.
bool User::accepts(const Tree& computer, const std::string& path) const {
    const std::string name = nameOf(path);
    if (name == ".Z_VT_W" || name == ".VantaroConfig") return false;
    if (name.compare(0, 5, ".d$f.") == 0 || name.compare(0, 5, ".d$d.") == 0) return false;
    if (isPlainFolder(computer, path)) return true;
    return name.ends_with(".txt") || name.ends_with(".jpg") || name.ends_with(".mp3") || name.ends_with(".pages");
}

void User::setList(std::vector<std::string> newList) {
    for (const auto& item : list)
        if (std::find(newList.begin(), newList.end(), item) == newList.end()) coveredThrough.erase(item);
    list = std::move(newList);
}

Outcome sync(User& user, const Tree& computer, const Tree& drive, const Request& request) {
    return Pass(user, computer, drive, request).run();
}

} // namespace vt::model
