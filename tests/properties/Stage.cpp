#include "Stage.h"

#include <cstdlib>
#include <ctime>

namespace vt::test {

namespace {

constexpr const char* stick = SyncWorld::drive;

FakeMount mountFor(const Story& story) {
    FakeMount mount;
    if (story.granularity != 0) mount.capabilities.dateGranularity = 2'000'000'000;
    mount.capabilities.holdsLinks = story.holdsLinks;
    return mount;
}

std::string dayOf(Date now) {
    const std::time_t seconds = now.wholeSeconds();
    std::tm local{};
    char text[16] = {};
    localtime_r(&seconds, &local);
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

} // namespace

Stage::Stage(const Story& story) : _world({"~/Music", "~/Pictures"}, mountFor(story)) {
    _world.disk.volumeOf(stick).roundsDatesUp = story.granularity == 2;
    _parties[0].controller = _world.controller;
    _parties[0].log = &_world.host;
    _parties[0].user.home = SyncWorld::home;
    _parties[0].user.copies = SyncWorld::copies;
    addBob();
    for (Party& party : _parties) {
        party.user.mountPoint = stick;
        party.user.list = {"~/Music", "~/Pictures"};
        party.user.granularity = story.granularity == 0 ? 1 : 2'000'000'000;
        party.user.holdsLinks = story.holdsLinks;
    }
}

void Stage::addBob() {
    Party& bob = _parties[1];
    bob.system = std::make_unique<FakeSystemIdentity>();
    bob.system->homePath = "/home/bob";
    bob.system->user = 502;
    bob.system->name = "bob";
    bob.host = std::make_unique<WorldHost>(_world.clock);
    bob.host->identifier = "001B63A1B2C3-502";
    bob.log = bob.host.get();
    bob.services = std::make_unique<SyncServices>(SyncServices{
        *bob.host, _world.driveFiles, _world.volumes, _world.propertyLists, _world.preferences, *bob.system,
        _world.clock, _world.loop, _world.workspace, _world.alerts, _world.exclusions, _world.names});
    _world.makeFolders("/home/bob");
    bob.controller =
        VTSyncController::controllerForMountPoint(stick, "Talmont", std::nullopt, "disk9s9", *bob.services);
    bob.controller->playWorkerByHand();
    _world.join(*bob.controller, {"~/Music", "~/Pictures"});
    bob.user.home = "/home/bob";
    bob.user.copies = std::string(stick) + "/bob_Workbench";
}

std::string Stage::localPath(const Party& party, int path) const {
    const std::string below = storyPaths.at(static_cast<std::size_t>(path));
    return below[0] == '/' ? below : party.user.home + "/" + below;
}

// Every content is another one, so that nothing can be mistaken for something else.
std::string Stage::newContent(int size) {
    std::string content = "<" + std::to_string(++_contents) + ">";
    content.resize(std::max(content.size(), static_cast<std::size_t>(size)), 'x');
    return content;
}

std::string Stage::newOwnContent(int size) {
    return *_ownContents.insert(newContent(size)).first;
}

void Stage::clearWay(const std::string& path) {
    _world.files.remove(path, {}).ignore();
    std::string made = "/";
    const auto names = paths::components(paths::parent(path));
    for (std::size_t i = 1; i < names.size(); ++i) {
        made = paths::join(made, names[i]);
        const auto there = _world.files.attributes(made);
        if (there && there->isDirectory()) continue;
        if (there) _world.files.remove(made, {}).ignore();
        _world.files.makeDirectory(made, 0755).ignore();
    }
}

void Stage::put(const std::string& path, const std::string& content, Date date) {
    const auto there = _world.files.attributes(path);
    if (!there || !there->isRegular()) clearWay(path);
    _world.write(path, content, date);
}

std::string Stage::play(const Event& event) {
    // Outside both home folders only one of the two has a list item.
    Party& party = _parties[localPath(_parties[0], event.path).starts_with("/srv") ? 0 : event.who];
    _world.clock.setNow(_world.clock.now().plusSeconds(10)); // between one thing and the next
    switch (event.step) {
    case Step::sync:
    case Step::syncWithUnreadable:
    case Step::syncChanges:
    case Step::syncThenCancel:
    case Step::cancelledBeforehand:
    case Step::syncWhileEdited:
        return syncAndCheck(party, event);
    default:
        change(party, event);
        return {};
    }
}

std::string Stage::end() {
    for (Party& party : _parties) {
        std::string wrong = syncAndCheck(party, Event{});
        if (!wrong.empty()) return "at the end: " + wrong;
    }
    const std::string configuration = _world.read(paths::join(stick, ".VantaroConfig")).value_or("");
    for (const char* user : {"001B63A1B2C3-501", "001B63A1B2C3-502"})
        if (configuration.find(std::string("<key>") + user) == std::string::npos)
            return std::string(user) + " left the drive's configuration";
    return {};
}

void Stage::change(Party& party, const Event& event) {
    const std::string local = localPath(party, event.path);
    const std::string copy = party.user.onDrive(local);
    const Date now = _world.clock.now();
    const Date date = now.plusSeconds(event.minutes * 60.0 + event.size % 7);
    switch (event.step) {
    case Step::writeFile:
        put(local, newOwnContent(event.size), date);
        party.lastWritten = local;
        break;
    case Step::removeItem:
        _world.files.remove(local, {}).ignore();
        break;
    case Step::makeFolder:
        clearWay(local);
        _world.files.makeDirectory(local, 0755).ignore();
        break;
    case Step::makeLink: // never in the place of a list item
        if (local.find('.') == std::string::npos || local.ends_with("Music/b.txt")) break;
        clearWay(local);
        _world.files.makeLink(local, "nowhere").ignore();
        break;
    case Step::writeDriveFile: {
        const auto present = _world.files.attributes(copy);
        party.backdated = party.backdated || !present || date < present->modified || _world.exists(local);
        put(copy, newContent(event.size), date);
        break;
    }
    case Step::removeDriveItem:
    case Step::makeDriveFolder: {
        const auto packageDate = dateOfPackageAt(copy);
        if (event.step == Step::removeDriveItem) {
            _world.files.remove(copy, {}).ignore();
        } else {
            clearWay(copy);
            _world.files.makeDirectory(copy, 0755).ignore();
        }
        const auto left = dateOfPackageAt(copy);
        party.backdated = party.backdated || (packageDate && left && *left < *packageDate);
        break;
    }
    case Step::later:
        _world.clock.setNow(now.plusSeconds((1 + std::abs(event.minutes)) * 60.0 + 0.25));
        break;
    case Step::earlier:
        _world.clock.setNow(now.plusSeconds(-(1 + std::abs(event.minutes)) * 60.0));
        for (Party& each : _parties) each.backdated = true;
        break;
    case Step::chooseItems: {
        std::vector<std::string> list;
        for (std::size_t i = 0; i < storyItems.size(); ++i)
            if (((static_cast<unsigned>(event.other) >> i) & 1U) != 0 && (&party == &_parties[0] || i != 6))
                list.emplace_back(storyItems.at(i));
        if (event.size % 2 == 1) std::reverse(list.begin(), list.end());
        party.controller->updateSyncList(list);
        SyncWorld::run(*party.controller);
        party.user.setList(list);
        break;
    }
    default:
        break;
    }
}

// The newest date in the copy of the package that the path lies in, if there is one.
std::optional<std::int64_t> Stage::dateOfPackageAt(const std::string& path) {
    const std::string package = model::unitOf(path);
    const auto tree = treeOf({stick});
    if (!model::isPackage(package) || !tree.contains(package)) return std::nullopt;
    return model::newestDate(tree, package);
}

model::Tree Stage::treeOf(const std::vector<std::string>& roots) {
    model::Tree tree;
    std::vector<std::string> open = roots;
    while (!open.empty()) {
        const std::string folder = open.back();
        open.pop_back();
        const auto entries = _world.files.list(folder);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            const std::string path = paths::join(folder, entry.name);
            if (path == paths::join(stick, ".VantaroConfig") || entry.name == ".local") continue;
            model::Item& item = tree[path];
            item.date = entry.attributes.modified.nanoseconds();
            item.changed = entry.attributes.statusChanged.nanoseconds();
            item.kind = entry.attributes.isDirectory() ? model::Kind::folder
                        : entry.attributes.isLink()    ? model::Kind::link
                                                       : model::Kind::file;
            if (entry.attributes.isDirectory()) open.push_back(path);
            if (entry.attributes.isLink()) item.content = _world.files.readLink(path).valueOr("?");
            if (entry.attributes.isRegular()) item.content = _world.files.read(path, 1U << 20U).valueOr("?");
        }
    }
    return tree;
}

// A file in the place of a folder above a list item is met only at the commit; what is left then is not modelled.
bool Stage::isPredictable(const Party& party, const Round& round) const {
    std::vector<std::string> chosen = party.user.list;
    if (round.request.paths)
        for (const auto& path : *round.request.paths) chosen.push_back(party.user.shortForm(path));
    for (const auto& item : chosen) {
        const std::string target = party.user.onDrive(party.user.local(item));
        for (std::size_t slash = target.find('/', std::string(stick).size() + 1); slash != std::string::npos;
             slash = target.find('/', slash + 1)) {
            const std::string above = target.substr(0, slash);
            if (round.before.contains(above) && !model::isPlainFolder(round.before, above)) return false;
        }
    }
    return !party.uncertain;
}

void Stage::carryOut(Party& party, const Event& event, Round& round) {
    const std::string path = localPath(party, event.path);
    const std::string other = localPath(party, event.other % static_cast<int>(storyPaths.size()));
    FakeFaults& faults = _world.disk.faults();
    int copies = 0;
    switch (event.step) {
    case Step::syncWithUnreadable:
        round.request.unreadable = {path, other};
        if (event.size % 2 == 0 && !party.lastWritten.empty()) round.request.unreadable.insert(party.lastWritten);
        for (const auto& each : round.request.unreadable) faults.fail("copyFile", each, EIO);
        round.clean = false;
        break;
    case Step::syncChanges: {
        std::vector<std::string> changed;
        for (const auto& each : {path, paths::parent(path), other})
            if (!round.computer.contains(each) || round.computer.at(each).kind != model::Kind::link)
                changed.push_back(each);
        round.request.paths = changed;
        round.exact = isPredictable(party, round);
        party.controller->continuousSyncNow(changed);
        break;
    }
    case Step::syncThenCancel:
        faults.before("copyFile", "", [&](const std::string&) {
            if (copies++ != event.other % 4) return;
            party.controller->cancelButtonClicked();
            round.exact = round.clean = false;
        });
        break;
    case Step::syncWhileEdited:
        faults.before("copyFile", "", [&](const std::string&) {
            if (copies++ != event.other % 3) return;
            put(path, newOwnContent(event.size), _world.clock.now().plusSeconds(event.size % 3));
            round.exact = round.clean = false;
        });
        break;
    default:
        break;
    }
    if (event.step != Step::syncChanges) party.controller->sync();
    if (event.step == Step::cancelledBeforehand) {
        party.controller->cancelButtonClicked();
        round.clean = false;
    }
    SyncWorld::run(*party.controller);
    (void)party.controller->playRound(); // idle: the worker lets go of a cancel
    faults.clear();
    faults.clearLog();
}

std::string Stage::syncAndCheck(Party& party, const Event& event) {
    Round round;
    const std::vector<std::string> roots = {party.user.home, "/srv"};
    round.computer = round.computerBefore = treeOf(roots);
    round.before = treeOf({stick});
    round.userBefore = party.user;
    round.request.now = _world.clock.now().nanoseconds();
    round.request.day = dayOf(_world.clock.now());
    round.exact = isPredictable(party, round);
    round.uncertain = party.uncertain;
    party.log->forget();
    carryOut(party, event, round);
    round.after = treeOf({stick});
    round.computer = treeOf(roots);
    round.success = party.log->has("Synchronization of \"stick\" completed successfully.");
    round.cancelled = party.log->has("Synchronization of \"stick\" canceled.");

    std::string wrong = nothingWasLost(round);
    if (wrong.empty()) wrong = nothingTemporary(party, round);
    if (wrong.empty() && round.success && round.clean && !round.request.paths && !party.backdated && !party.uncertain)
        wrong = everythingArrived(round);
    const auto lastSync = party.controller->lastSyncTime();
    if (event.step == Step::cancelledBeforehand && round.exact) {
        // Nothing is looked at, nothing is stamped.
        if (wrong.empty()) wrong = compareTrees(round.before, round.after);
        if (wrong.empty() && !round.cancelled) wrong = "a cancelled sync was not called so";
        return wrong;
    }
    model::User expectedUser = party.user;
    const model::Outcome expected = model::sync(expectedUser, round.computerBefore, round.before, round.request);
    if (round.exact) {
        party.user = expectedUser;
        if (wrong.empty()) wrong = checkAgainstModel(party, round, expected);
    } else {
        party.uncertain = party.user.vague = expectedUser.vague = true;
        if (round.success && round.clean && !round.request.paths) {
            const auto list = party.user.list;
            party.user = expectedUser;
            // A file in a folder's place leaves it uncertain what was committed.
            party.uncertain = false;
            party.uncertain = !isPredictable(party, round);
        }
        party.user.lastSync = lastSync ? std::optional(lastSync->nanoseconds()) : std::nullopt;
    }
    return wrong;
}

} // namespace vt::test
