// What the sync controllers see of the application. Thread: as SyncHost says; what must move to the main thread moves
// here.
#pragma once

#include "app/ApplicationIdentity.h"
#include "app/ApplicationServices.h"
#include "app/ContinuousSync.h"
#include "app/LogFrontEnd.h"
#include "config/VTUserDefaults.h"
#include "sync/SyncHost.h"

#include <atomic>
#include <functional>
#include <memory>

namespace vt {

class ApplicationHost final : public SyncHost {
  public:
    struct Collaborators {
        ApplicationServices& services;
        LogFrontEnd& log;
        ApplicationIdentity& identity;
        VTUserDefaults& userDefaults;
        std::function<void(bool forced, const std::optional<Value::Dictionary>&)> broadcast; // main
        std::function<void(const std::string& mountPoint)> replaceController;                // main
    };
    explicit ApplicationHost(Collaborators collaborators) : _c(std::move(collaborators)) {}

    [[nodiscard]] std::string uniqueHostUserId() const override { return _c.identity.uniqueHostUserId(); }
    [[nodiscard]] LogSink& log() override { return _c.log; }
    void addLogText(const std::string& text) override;
    void writeLogFile() override { _c.log.flushLog(); }
    void openLogFile() override;
    [[nodiscard]] bool debugEnabled() const override { return _c.log.debugEnabled(); }
    void sendActivityNotificationForced(bool forced, const std::optional<Value::Dictionary>& progress) override;
    [[nodiscard]] bool runningOnLeopardOrLater() const override;
    void addSeenDevice(const std::string& drive) override { _c.userDefaults.addSeenDevice(drive); }
    void doHelp() override;
    void syncConfigurationRemoved(const std::string& mountPoint) override;
    // No wireless drive is mapped here.
    [[nodiscard]] bool isMappedShare(const std::string&) const override { return false; }

  private:
    Collaborators _c;
    // What is handed to the main thread runs only while this object lives.
    std::shared_ptr<const bool> _alive = std::make_shared<const bool>(true);
    mutable std::atomic<std::int32_t> _systemVersion = 0; // 0: not asked, or the query failed
};

} // namespace vt
