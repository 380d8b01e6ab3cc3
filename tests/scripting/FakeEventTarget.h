// An application that only remembers what the event commands asked of it.
#pragma once

#include "base/Paths.h"
#include "scripting/EventTarget.h"

#include <map>
#include <string>
#include <vector>

namespace vt {

class RecordingLog final : public LogSink {
  public:
    void logMessage(std::string_view text) override { messages.emplace_back(text); }
    void debugMessage(std::string_view text) override { debugLines.emplace_back(text); }
    [[nodiscard]] bool debugEnabled() const override { return debug; }
    bool debug = true;
    std::vector<std::string> messages;
    std::vector<std::string> debugLines;
};

class FakeEventTarget final : public EventTarget {
  public:
    bool controller = true;
    bool valid = true;
    bool setUp = true;
    bool continuous = true;
    bool participating = true;
    bool quiet = true;
    std::map<MediaKind, bool> media = {{MediaKind::movies, true},
                                       {MediaKind::music, true},
                                       {MediaKind::pictures, true},
                                       {MediaKind::documents, false}};
    std::int32_t filter = 1;
    std::vector<std::string> list = {"/home/ann/Music", "/home/ann/My Pictures"};
    std::optional<Value::Dictionary> users;
    std::vector<std::string> calls; // in order, with their arguments
    RecordingLog log;

    LogSink& eventLog() override { return log; }
    std::string abbreviatedPath(const std::string& path) const override {
        return HomePaths("/home/ann").abbreviate(path);
    }
    std::string archivedStatus(const Value::Dictionary& given) override {
        return "archive of " + std::to_string(given.size());
    }
    bool hasController(const std::string&) override { return controller; }
    bool isDriveValidForSync(const std::string&, bool suppressAlerts) override {
        calls.emplace_back(suppressAlerts ? "valid? suppressed" : "valid?");
        return valid;
    }
    bool isDriveSetupForSync(const std::string&) override { return setUp; }
    std::vector<std::string> getSyncListForDrive(const std::string&) override { return list; }
    void setSyncList(const std::vector<std::string>& given, const std::string& drive) override {
        std::string call = "setSyncList " + drive;
        for (const std::string& item : given) call += " " + item;
        calls.push_back(call);
    }
    bool getContinuousSyncStateForDrive(const std::string&) override { return continuous; }
    void setContinuousSyncState(bool enabled, const std::string& drive) override {
        record("setContinuous", enabled, drive);
    }
    bool syncMediaStateForDrive(MediaKind kind, const std::string&) override { return media[kind]; }
    void setSyncMediaState(MediaKind kind, bool enabled, const std::string& drive) override {
        record("setMedia" + std::to_string(static_cast<int>(kind)), enabled, drive);
    }
    std::int32_t syncDeviceFilterForDrive(const std::string&) override { return filter; }
    void setSyncDeviceFilter(std::int32_t given, const std::string& drive) override {
        calls.push_back("setFilter " + std::to_string(given) + " " + drive);
    }
    bool getParticipateSyncStateForDrive(const std::string&) override { return participating; }
    void setParticipateSyncState(bool participate, const std::string& drive) override {
        record("setParticipate", participate, drive);
    }
    bool getQuietSyncStateForDrive(const std::string&) override { return quiet; }
    void setQuietSyncState(bool given, const std::string& drive) override { record("setQuiet", given, drive); }
    void startSyncForDriveAt(const std::string& drive) override { calls.push_back("start " + drive); }
    void cancelSyncForDriveAt(const std::string& drive) override { calls.push_back("cancel " + drive); }
    bool removeDriveSync(const std::string& drive) override {
        calls.push_back("remove " + drive);
        return true;
    }
    std::optional<Value::Dictionary> statusForDrive(const std::string&) override { return users; }
    void updateContinuousSyncSettings() override { calls.emplace_back("updateContinuous"); }
    void updateFileValidatorForDrive(const std::string& drive) override { calls.push_back("validator " + drive); }
    void syncSoonIfContinuous(const std::string& drive) override { calls.push_back("syncSoon " + drive); }
    void sendActivityNotification() override { calls.emplace_back("activity"); }

  private:
    void record(const std::string& what, bool value, const std::string& drive) {
        calls.push_back(what + (value ? " YES " : " NO ") + drive);
    }
};

} // namespace vt
