// What every sync of a story is held against.
#include "Stage.h"

#include <algorithm>
#include <array>
#include <set>
#include <sstream>
#include <utility>

namespace vt::test {

namespace {

bool isTemporary(const std::string& path, const std::string& work) {
    return path.find("/.Z_VT_R_") != std::string::npos || path.find(" (kept ") != std::string::npos ||
           path.starts_with(work);
}

std::string textOf(const model::Item& item) {
    const char* kinds[] = {"file", "folder", "link"};
    return std::string(kinds[static_cast<int>(item.kind)]) + " \"" + item.content.substr(0, 12) + "\" of " +
           std::to_string(item.date);
}

} // namespace

std::string Stage::checkAgainstModel(Party& party, const Round& round, const model::Outcome& expected) {
    std::ostringstream wrong;
    if (round.success != expected.success)
        wrong << "success is " << round.success << " instead of " << expected.success << "; ";
    const auto lastSync = party.controller->lastSyncTime();
    if ((lastSync ? std::optional(lastSync->nanoseconds()) : std::nullopt) != party.user.lastSync)
        wrong << "the last sync time is " << (lastSync ? lastSync->nanoseconds() : 0) << " instead of "
              << party.user.lastSync.value_or(0) << "; ";
    if (expected.success && !expected.lookedAtNothing) {
        const auto reported = [&](const char* key) {
            std::int64_t figure = -1;
            for (const auto& note : party.log->notifications())
                if (note.at("syncActivityType").integerValue() == 3) figure = note.at(key).integerValue();
            return figure;
        };
        // What the computer may have known to be there is present or copied, all the same to the drive.
        const auto between = [&](const char* key, std::uint64_t least, std::uint64_t most) {
            return std::clamp(static_cast<std::uint64_t>(std::max<std::int64_t>(reported(key), 0)), least, most);
        };
        const std::uint64_t present =
            between("syncSkipPresent", expected.present, expected.present + expected.perhapsPresent);
        const std::uint64_t copied = between(
            "syncCopied", expected.copied - std::min(expected.copied, expected.perhapsNotCopied), expected.copied);
        const std::array<std::pair<const char*, std::uint64_t>, 5> figures = {
            {{"syncSize", expected.size},
             {"syncSkipFilter", expected.filtered},
             {"syncSkipPresent", present},
             {"syncCopied", copied},
             {"syncUnaccounted", expected.size - expected.filtered - present - copied}}};
        for (const auto& [key, value] : figures) {
            const std::int64_t figure = reported(key);
            if (figure != static_cast<std::int64_t>(value))
                wrong << key << " is " << figure << " instead of " << static_cast<std::int64_t>(value) << "; ";
        }
    }
    return wrong.str() + compareTrees(expected.drive, round.after);
}

// Empty folders aside: they come and go with what was to be put into them.
std::string Stage::compareTrees(const model::Tree& expected, const model::Tree& actual) {
    std::ostringstream wrong;
    for (const auto& [path, item] : expected) {
        if (item.kind == model::Kind::folder) continue;
        const auto found = actual.find(path);
        if (found == actual.end())
            wrong << path << " is missing (" << textOf(item) << "); ";
        else if (found->second.kind != item.kind || found->second.content != item.content ||
                 (item.kind == model::Kind::file && found->second.date != item.date))
            wrong << path << " is " << textOf(found->second) << " instead of " << textOf(item) << "; ";
    }
    for (const auto& [path, item] : actual)
        if (item.kind != model::Kind::folder && !expected.contains(path))
            wrong << path << " is there (" << textOf(item) << "); ";
    return wrong.str();
}

// Whatever the drive had is in its place, or set aside, or was an older copy of what is there now.
std::string Stage::nothingWasLost(const Round& round) const {
    const model::User& user = round.userBefore;
    std::set<std::string> archived;
    for (const auto& [path, item] : round.after)
        if (path.find("/Archived Vantaro Backups/") != std::string::npos) archived.insert(item.content);
    for (const auto& [path, item] : round.before) {
        if (item.kind == model::Kind::folder) continue;
        const auto now = round.after.find(path);
        if (now != round.after.end() && now->second.content == item.content) continue;
        if (archived.contains(item.content)) continue;
        const std::string unit = model::unitOf(path);
        std::string local = user.home + unit.substr(std::min(unit.size(), user.copies.size()));
        if (!model::isAtOrBelow(unit, user.copies)) local = unit.substr(std::min(unit.size(), user.mountPoint.size()));
        bool replaced = false;
        for (const auto* computer : {&round.computerBefore, &round.computer}) {
            if (!computer->contains(local)) continue;
            const std::int64_t mine = model::newestDate(*computer, local);
            const std::int64_t theirs = model::newestDate(round.before, unit);
            // What a cancelled sync brought is later than the last whole one, and still only an earlier version; what
            // the person wrote to the drive is not.
            const bool brought = round.uncertain && _ownContents.contains(item.content);
            const bool both = !brought && user.lastSync && mine > *user.lastSync && theirs > *user.lastSync;
            // An owed package is put right with the same newest date.
            replaced = replaced || (mine > theirs && !both) || (mine == theirs && unit != path);
        }
        // Of two that look alike in size and date none is kept.
        if (now != round.after.end() && now->second.date == item.date &&
            now->second.content.size() == item.content.size())
            replaced = true;
        if (!replaced || !round.after.contains(unit)) return path + " was lost (" + textOf(item) + ")";
    }
    return {};
}

std::string Stage::everythingArrived(const Round& round) {
    const model::User& user = round.userBefore;
    for (const auto& item : user.list) {
        const std::string root = user.local(item);
        for (const auto& [path, mine] : round.computer) {
            if (mine.kind != model::Kind::file || !model::isAtOrBelow(path, root)) continue;
            bool accepted = true;
            for (std::string above = model::unitOf(path); accepted && above.size() >= root.size();
                 above = paths::parent(above))
                accepted = user.accepts(round.computer, above);
            if (!accepted) continue;
            const std::string unit = model::unitOf(path);
            const std::string target = user.onDrive(unit);
            if (round.before.contains(target) &&
                model::newestDate(round.before, target) >= model::newestDate(round.computer, unit))
                continue;
            const std::int64_t step = round.before.contains(target) ? user.granularity : 0;
            if (step > 1 && model::newestDate(round.computer, unit) - model::newestDate(round.before, target) < step)
                continue; // the drive cannot tell
            const auto copy = round.after.find(user.onDrive(path));
            if (copy == round.after.end() || copy->second.content != mine.content) return path + " did not arrive";
        }
    }
    return {};
}

std::string Stage::nothingTemporary(const Party& party, const Round& round) {
    for (const auto& [path, item] : round.after)
        if (isTemporary(path, party.controller->pathForPushkeyTemp())) return path + " was left on the drive";
    for (const auto& [path, item] : round.computer)
        if (path.starts_with(party.controller->pathForLocalTemp())) return path + " was left on the computer";
    return {};
}

} // namespace vt::test
