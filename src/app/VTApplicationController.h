// The one application-wide object: owns the registry of drives and everything that serves it, starts it up and tears it
// down. A façade: arrival, commands, continuous sync, the log and the bus service are types of their own beside it.
// Thread: main. Owns: all of them. Lifecycle: created, awake (awakeFromNib), running (applicationWillFinishLaunching),
// cleaned up.
#pragma once

#include "app/ApplicationServices.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class DriveCommands;
class DrivesService;
class ContinuousSync;
class LogFrontEnd;
class SyncControllerRegistry;
class SystemTasks;
class DriveArrival;

class VTApplicationController {
  public:
    explicit VTApplicationController(ApplicationServices services);
    ~VTApplicationController();

    void awakeFromNib();
    // False: another agent owns the bus name; the caller ends the process.
    [[nodiscard]] bool applicationWillFinishLaunching();
    [[nodiscard]] bool applicationShouldTerminate() const { return !isBusy(); }
    void applicationWillTerminate();
    void cleanup(); // works once

    [[nodiscard]] std::string uniqueHostUserId() const;
    void whackSavedState();
    bool openFile(const std::string& path);                // always true
    void openFiles(const std::vector<std::string>& paths); // starts a sync of each drive
    bool setupDriveForSync(const std::string& drive);      // always true
    void updateContinuousSyncSettings();
    // Always false, whoever is busy: the agent never refuses to quit.
    [[nodiscard]] bool isBusy() const;
    [[nodiscard]] std::optional<std::string> isBusyPath() const;
    [[nodiscard]] std::optional<Value::Dictionary> isBusyProgressDict() const;

    [[nodiscard]] DriveArrival& arrival();
    [[nodiscard]] DriveCommands& commands();
    [[nodiscard]] DrivesService& drivesService();
    [[nodiscard]] ContinuousSync& continuousSync();
    [[nodiscard]] LogFrontEnd& log();
    [[nodiscard]] SystemTasks& systemTasks();
    [[nodiscard]] SyncControllerRegistry& registry();

  private:
    struct Parts;
    std::unique_ptr<Parts> _parts;
    bool m_bCleanedUp = false;
};

} // namespace vt
