// What the bus's Drives interface asks of the application: the drives, the volumes, adopting, letting go, progress.
// Thread: main. Errors: see BusService; a path that is no served drive's is ENOENT.
#pragma once

#include "app/DriveArrival.h"
#include "app/FilterExplainer.h"
#include "app/ServedVolumes.h"
#include "app/WaitingChanges.h"
#include "platform/SessionBus.h"
#include "scripting/EventDispatcher.h"

#include <list>

namespace vt {

class DrivesService final : public BusService {
  public:
    DrivesService(DriveArrival::Collaborators collaborators, DriveArrival& arrival, ServedVolumes& served,
                  EventDispatcher& events, FilterExplainer& explainer, const WaitingChanges& waitingChanges);

    Result<EventDescriptor::Record> event(const BusEvent& event) override { return _events.dispatch(event); }
    std::vector<Value::Dictionary> drives() override;
    std::vector<Value::Dictionary> volumes() override;
    void adopt(const std::string& path, DriveCompletion done) override;
    void forget(const std::string& path, Completion done) override;
    void progress(const std::string& path, DriveCompletion done) override;
    void eject(const std::string& path, Completion done) override;
    void explain(const std::string& drive, const std::string& path, DriveCompletion done) override;
    std::vector<Value::Dictionary> waiting() override { return _waitingChanges.all(); }
    void quit() override;

    // The arrival's news: completes adoptions that wait for the drive to be set up.
    void driveArrived(const std::string& mountPoint);
    // The departure's: letting a drive go is answered once it is no longer served, so that who asks for it again next
    // is not taken to mean the one that leaves.
    void driveLeft(const std::string& mountPoint);

  private:
    struct WaitingAdoption {
        std::string path;
        DriveCompletion done;
        std::unique_ptr<Timer> timeout;
    };
    struct WaitingDeparture {
        std::string path;
        Completion done;
        std::unique_ptr<Timer> timeout;
    };
    [[nodiscard]] Value::Dictionary describe(VTSyncController& controller, const std::string& key);
    [[nodiscard]] std::shared_ptr<VTSyncController> controllerAt(const std::string& path) const;
    [[nodiscard]] bool isRegistered(const std::string& mountPoint) const;

    DriveArrival::Collaborators _c;
    DriveArrival& _arrival;
    ServedVolumes& _served;
    EventDispatcher& _events;
    FilterExplainer& _explainer;
    const WaitingChanges& _waitingChanges;
    std::list<WaitingAdoption> _waiting;
    std::list<WaitingDeparture> _leaving;
};

} // namespace vt
