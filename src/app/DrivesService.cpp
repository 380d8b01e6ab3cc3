#include "app/DrivesService.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"

#include <algorithm>
#include <cerrno>

namespace vt {

namespace {

constexpr std::chrono::milliseconds adoptionPatience{10'000};
constexpr std::chrono::milliseconds departurePatience{10'000};

Error notServed(const std::string& path) {
    return {ENOENT, Disposition::skipItem, path,
            formatText("\"%@\" is not a served drive", {paths::displayText(path)})};
}

Error inProgress(const std::string& path) {
    return {EBUSY, Disposition::skipItem, path, DriveArrival::syncInProgress};
}

// Bus errors carry one text: the path belongs into it. The rest is a formatted text already.
Error withPathInText(Error error) {
    if (!error.path.empty()) error.text.insert(0, formatText("\"%@\": ", {paths::displayText(error.path)}));
    return error;
}

// Those who wait for this drive, out of the list before any is answered: an answer may ask again.
template <typename Waiting> std::list<Waiting> takeThoseOf(const std::string& mountPoint, std::list<Waiting>& all) {
    std::list<Waiting> taken;
    for (auto waiting = all.begin(); waiting != all.end();) {
        const auto next = std::next(waiting);
        if (waiting->path == mountPoint) taken.splice(taken.end(), all, waiting);
        waiting = next;
    }
    return taken;
}

} // namespace

DrivesService::DrivesService(DriveArrival::Collaborators collaborators, DriveArrival& arrival, ServedVolumes& served,
                             EventDispatcher& events, FilterExplainer& explainer, const WaitingChanges& waitingChanges)
    : _c(std::move(collaborators)), _arrival(arrival), _served(served), _events(events), _explainer(explainer),
      _waitingChanges(waitingChanges) {}

std::shared_ptr<VTSyncController> DrivesService::controllerAt(const std::string& path) const {
    if (!paths::isAbsolute(path)) return nullptr;
    auto controller = _c.registry.syncControllerForMountPoint(paths::clean(path));
    return controller && controller->deviceMountPoint() == paths::clean(path) ? controller : nullptr;
}

// Also of a drive whose volume is no longer there, and whose departure is on its way.
bool DrivesService::isRegistered(const std::string& mountPoint) const {
    const auto& all = _c.registry.all();
    return std::any_of(all.begin(), all.end(),
                       [&](const auto& entry) { return entry.second->deviceMountPoint() == mountPoint; });
}

Value::Dictionary DrivesService::describe(VTSyncController& controller, const std::string& key) {
    const std::string& mountPoint = controller.deviceMountPoint();
    const HomePaths homePaths(_c.services.system.home());
    Value::Dictionary drive;
    drive.emplace("mountPoint", mountPoint);
    drive.emplace("name", displayNameAtPath(_c.services.volumes, mountPoint));
    drive.emplace("key", key);
    // A controller that took another's place has not looked at its volume yet.
    const auto stat = _c.services.volumes.statVolume(mountPoint);
    drive.emplace("fileSystem", stat.ok() ? stat->typeName : controller.fileSystemType());
    drive.emplace("totalBytes", stat.ok() ? stat->totalBytes : controller.totalBytes());
    drive.emplace("freeBytes", stat.ok() ? stat->freeBytes : controller.freeBytes());
    drive.emplace("busy", controller.busy());
    drive.emplace("participating", controller.isParticipatingInSync());
    drive.emplace("continuous", controller.continuousSyncState());
    drive.emplace("quiet", controller.quietSyncState());
    drive.emplace("movies", controller.syncMoviesState());
    drive.emplace("music", controller.syncMusicState());
    drive.emplace("pictures", controller.syncPicturesState());
    drive.emplace("documents", controller.syncDocumentsState());
    drive.emplace("deviceFilter", static_cast<std::int64_t>(controller.syncDeviceFilter()));
    Value::Array list;
    for (const std::string& item : controller.shadowedSyncList()) list.emplace_back(homePaths.standardise(item));
    drive.emplace("syncList", std::move(list));
    if (const auto time = controller.lastSyncTime()) drive.emplace("lastSyncTime", time->iso8601());
    drive.emplace("wireless", false);
    return drive;
}

std::vector<Value::Dictionary> DrivesService::drives() {
    std::vector<Value::Dictionary> list;
    for (const auto& [key, controller] : _c.registry.all()) list.push_back(describe(*controller, key));
    return list;
}

std::vector<Value::Dictionary> DrivesService::volumes() {
    std::vector<Value::Dictionary> list;
    for (const ServedVolumes::Volume& volume : _served.volumes()) {
        Value::Dictionary entry;
        entry.emplace("mountPoint", volume.mountPoint);
        entry.emplace("name", volume.name);
        entry.emplace("fileSystem", volume.fileSystem);
        entry.emplace("served", volume.reason.empty());
        if (!volume.reason.empty()) entry.emplace("reason", volume.reason);
        list.push_back(std::move(entry));
    }
    return list;
}

void DrivesService::adopt(const std::string& path, DriveCompletion done) {
    const auto adopted = _served.adopt(paths::isAbsolute(path) ? paths::clean(path) : path);
    if (!adopted.ok()) {
        done(withPathInText(adopted.error()));
        return;
    }
    const std::string& mountPoint = *adopted;
    driveLeft(mountPoint); // chosen again before it had gone, it may stay
    const auto controller = controllerAt(mountPoint);
    if (controller && !_arrival.isArriving(mountPoint)) {
        done(describe(*controller, _c.registry.keyOf(controller.get()).value_or("")));
        return;
    }
    const auto place = _waiting.emplace(_waiting.end());
    place->path = mountPoint;
    place->done = std::move(done);
    place->timeout = _c.services.runLoop.after(adoptionPatience, [this, place] {
        std::list<WaitingAdoption> ended;
        ended.splice(ended.end(), _waiting, place);
        ended.front().done(
            Error{ETIMEDOUT, Disposition::skipItem, ended.front().path,
                  formatText("\"%@\": the drive did not arrive", {paths::displayText(ended.front().path)})});
    });
}

void DrivesService::driveArrived(const std::string& mountPoint) {
    for (const WaitingAdoption& adoption : takeThoseOf(mountPoint, _waiting)) {
        if (const auto controller = controllerAt(mountPoint))
            adoption.done(describe(*controller, _c.registry.keyOf(controller.get()).value_or("")));
        else
            adoption.done(notServed(mountPoint));
    }
}

void DrivesService::forget(const std::string& path, Completion done) {
    if (!controllerAt(path)) {
        done(notServed(path));
        return;
    }
    const std::string mountPoint = paths::clean(path);
    const auto forgotten = _served.forget(mountPoint);
    if (!forgotten.ok() || !isRegistered(mountPoint)) {
        done(forgotten);
        return;
    }
    const auto place = _leaving.emplace(_leaving.end());
    place->path = mountPoint;
    place->done = std::move(done);
    // It is let go all the same.
    place->timeout = _c.services.runLoop.after(departurePatience, [this, mountPoint] { driveLeft(mountPoint); });
}

void DrivesService::driveLeft(const std::string& mountPoint) {
    for (const WaitingDeparture& departure : takeThoseOf(mountPoint, _leaving)) departure.done({});
}

void DrivesService::progress(const std::string& path, DriveCompletion done) {
    const auto controller = controllerAt(path);
    if (!controller) {
        done(notServed(path));
        return;
    }
    // A worker hands the news of a sync's end over before it lets go of the task: asked first and answered behind what
    // waits, "idle" never overtakes that news.
    _c.services.runLoop.performLater(
        [progress = controller->getCurrentProgressDict(), done = std::move(done)] { done(progress); });
}

void DrivesService::eject(const std::string& path, Completion done) {
    const auto controller = controllerAt(path);
    if (!controller) {
        done(notServed(path));
        return;
    }
    const std::string mountPoint = paths::clean(path);
    const auto description = _c.services.volumes.describe(mountPoint);
    if (description && _arrival.unmountApproval(*description)) {
        done(inProgress(path));
        return;
    }
    // Everything that is still in memory is written out first: that may take minutes.
    const std::weak_ptr<VTSyncController> leaving = controller;
    _c.services.volumes.unmount(mountPoint, [path, leaving, done = std::move(done)](const Result<void>& unmounted) {
        const auto stays = leaving.lock();
        if (unmounted.ok())
            done({});
        else if (unmounted.code() == EBUSY && stays && stays->busy()) // a sync began after the approval
            done(inProgress(path));
        else if (unmounted.code() == ETIMEDOUT)
            done(Error{ETIMEDOUT, Disposition::skipItem, path,
                       formatText("\"%@\" is still being written to and leaves when that is done",
                                  {paths::displayText(path)})});
        else
            done(withPathInText(unmounted.error()));
    });
}

void DrivesService::explain(const std::string& drive, const std::string& path, DriveCompletion done) {
    const auto controller = controllerAt(drive);
    if (!controller) {
        done(notServed(drive));
        return;
    }
    _explainer.explain(*controller, path, std::move(done));
}

void DrivesService::quit() {
    _c.services.runLoop.performLater([this] { _c.services.quit(0); });
}

} // namespace vt
