// A whole sync controller on fakes: a home folder, a drive, a clock that stands still, and a worker that the test plays
// round by round. Change, sync, compare.
#pragma once

#include "base/Paths.h"
#include "config/FSNamesAndTags.h"
#include "log/VTLogController.h"
#include "mediafilter/VTContainerValidator.h"
#include "platform/fake/FakeAlertPanel.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDriveFiles.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeSystemIdentity.h"
#include "platform/fake/FakeVolumes.h"
#include "platform/fake/FakeWorkspace.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "support/TreeLiteral.h"
#include "sync/VTSyncController.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vt::test {

// Noon of a day in May 2013 plus this many minutes.
inline Date at(int minutes) {
    return Date::fromSeconds(1'369'137'600 + minutes * 60LL);
}

class WorldTable final : public FileSystemTable {
  public:
    [[nodiscard]] std::vector<FileSystemBundle> bundles() override {
        std::vector<FileSystemPersonality> known = {{"ext4", "Linux", std::nullopt, true},
                                                    {"msdos", "MS-DOS (FAT)", "DOS_FAT_32", true},
                                                    {"exfat", "ExFAT", std::nullopt, true}};
        known.insert(known.end(), more.begin(), more.end());
        return {{"/systems/all.fs", "/systems/all.fs/info", known}};
    }
    [[nodiscard]] std::optional<Value> ntfsDriverDisabled() override { return std::nullopt; }
    std::vector<FileSystemPersonality> more;
};

class WorldExclusions final : public ExclusionTables {
  public:
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return _names; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return _paths; }

  private:
    std::vector<std::string> _names{".Z_VT_W", ".VantaroConfig"};
    std::vector<std::string> _paths;
};

// The application as the controllers see it; keeps what it is told.
class WorldHost final : public SyncHost, public LogSink {
  public:
    explicit WorldHost(FakeClock& clock) : _clock(clock) {}
    std::string identifier = "001B63A1B2C3-501";
    std::atomic<bool> debug = false;
    bool leopard = true;
    std::vector<std::string> mapped;
    std::vector<std::string> seenDevices;
    std::vector<std::string> removedConfigurations;
    int logsOpened = 0;

    [[nodiscard]] std::string uniqueHostUserId() const override { return identifier; }
    [[nodiscard]] LogSink& log() override { return *this; }
    void logMessage(std::string_view text) override { add(std::string(text)); }
    void debugMessage(std::string_view text) override {
        if (debug) add(std::string(text));
    }
    void addLogText(const std::string& text) override { add(text); }
    void writeLogFile() override { ++writes; }
    void openLogFile() override { ++logsOpened; }
    [[nodiscard]] bool debugEnabled() const override { return debug; }
    void sendActivityNotificationForced(bool, const std::optional<Value::Dictionary>& progress) override {
        const std::scoped_lock lock(_mutex);
        _notifications.push_back(progress.value_or(Value::Dictionary{}));
    }
    [[nodiscard]] bool runningOnLeopardOrLater() const override { return leopard; }
    void addSeenDevice(const std::string& drive) override { seenDevices.push_back(drive); }
    void doHelp() override { ++helps; }
    void syncConfigurationRemoved(const std::string& mountPoint) override {
        removedConfigurations.push_back(mountPoint);
    }
    [[nodiscard]] bool isMappedShare(const std::string& mountPoint) const override {
        return std::find(mapped.begin(), mapped.end(), mountPoint) != mapped.end();
    }

    // The log's lines without time stamps and line ends.
    [[nodiscard]] std::vector<std::string> lines() const {
        const std::scoped_lock lock(_mutex);
        return _lines;
    }
    [[nodiscard]] bool has(const std::string& line) const {
        const auto all = lines();
        return std::find(all.begin(), all.end(), line) != all.end();
    }
    [[nodiscard]] bool hasWithTime(const std::string& line) const {
        const std::scoped_lock lock(_mutex);
        return std::find(_stamped.begin(), _stamped.end(), line) != _stamped.end();
    }
    [[nodiscard]] std::vector<int> activityTypes() const {
        const std::scoped_lock lock(_mutex);
        std::vector<int> types;
        for (const auto& note : _notifications)
            types.push_back(static_cast<int>(note.at("syncActivityType").integerValue()));
        return types;
    }
    [[nodiscard]] std::vector<Value::Dictionary> notifications() const {
        const std::scoped_lock lock(_mutex);
        return _notifications;
    }
    void forget() {
        const std::scoped_lock lock(_mutex);
        _lines.clear();
        _notifications.clear();
    }
    int helps = 0;
    std::atomic<int> writes = 0;

  private:
    void add(std::string text) {
        const std::string stamp = VTLogController::generateString("", true, false, _clock.now());
        const bool stamped = text.starts_with(stamp);
        if (stamped) text.erase(0, stamp.size());
        if (text.ends_with('\n')) text.pop_back();
        const std::scoped_lock lock(_mutex);
        if (stamped) _stamped.push_back(text);
        _lines.push_back(std::move(text));
    }
    FakeClock& _clock;
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
    std::vector<std::string> _stamped;
    std::vector<Value::Dictionary> _notifications;
};

// One computer and what its drives are mounted on; several controllers may share it.
struct SyncWorld {
    static constexpr const char* home = "/home/ada";
    static constexpr const char* drive = "/media/stick";
    static constexpr const char* copies = "/media/stick/ada_Workbench"; // where the home folder's items land

    FakeClock clock{at(0)};
    FakeDisk disk{clock};
    FakeFiles files{disk};
    FakeDriveFilesFactory driveFiles{disk};
    FakeRunLoop loop{clock};
    FakeVolumes volumes{loop};
    LinuxPropertyLists propertyLists;
    FakePreferences preferences;
    FakeSystemIdentity system;
    FakeWorkspace workspace;
    FakeAlertPanel alerts;
    WorldExclusions exclusions;
    WorldTable table;
    FSNamesAndTags names{table};
    WorldHost host{clock};
    SyncServices services{host,  driveFiles, volumes,   propertyLists, preferences, system,
                          clock, loop,       workspace, alerts,        exclusions,  names};
    VTContainerValidator everything = VTContainerValidator::suffixMatch(".*\\.(txt|jpg|mp3|pages)$", true);
    std::shared_ptr<VTSyncController> controller;

    // `list` becomes the sync list of a drive that this user has just joined.
    explicit SyncWorld(const std::vector<std::string>& list = {"~/Music"}, const FakeMount& volume = {}) {
        makeFolders(home);
        mountDrive(drive, "disk8s1", volume);
        controller = controllerFor(drive);
        join(*controller, list);
        host.forget();
    }
    void mountDrive(const std::string& mountPoint, const std::string& key, const FakeMount& volume = {}) {
        disk.mount(mountPoint, volume.capabilities);
        volumes.mount(key, mountPoint, volume);
    }
    std::shared_ptr<VTSyncController> controllerFor(const std::string& mountPoint, bool byHand = true) {
        auto made = VTSyncController::controllerForMountPoint(mountPoint, "Talmont", std::nullopt, "disk9s9", services);
        if (byHand) made->playWorkerByHand();
        return made;
    }
    void join(VTSyncController& joining, const std::vector<std::string>& list) {
        EXPECT_TRUE(joining.isValidDevice());
        EXPECT_TRUE(joining.isValidFileSystem());
        EXPECT_TRUE(joining.syncIsEnabledForThisDevice());
        EXPECT_TRUE(joining.deviceConfiguration().setSyncItemList(list));
        joining.updateFileValidator({&everything});
    }
    void makeFolders(const std::string& folder) {
        std::string made = "/";
        for (const auto& name : paths::components(folder)) {
            if (name == "/") continue;
            made = paths::join(made, name);
            if (!files.attributes(made)) files.makeDirectory(made, 0755).ignore();
        }
    }
    // Trees below the home folder and below the folder of its copies on the drive.
    void computer(const std::vector<TreeItem>& items) { buildTree(files, files, home, items); }
    void onDrive(const std::vector<TreeItem>& items) { buildTree(files, files, copies, items); }
    // A file that is there already gets new content and a date.
    void write(const std::string& path, const std::string& content, Date modified) {
        EXPECT_TRUE(files.writeAtomically(path, content, 0644).ok()) << path;
        EXPECT_TRUE(files.setModified(path, modified).ok()) << path;
    }
    void finishedSyncAt(Date date) { controller->updateLastSyncTime(date); }

    void run() { run(*controller); }
    static void run(VTSyncController& which) {
        for (int rounds = 0; rounds < 1000 && which.busy(); ++rounds)
            if (!which.playRound()) return;
    }
    // A full sync from its request to its end.
    void sync() {
        controller->sync();
        run();
    }
    void syncPaths(const std::vector<std::string>& paths) {
        controller->continuousSyncNow(paths);
        run();
    }
    [[nodiscard]] bool succeeded() const { return host.has("Synchronization of \"stick\" completed successfully."); }
    [[nodiscard]] std::optional<std::string> read(const std::string& path) {
        auto content = files.read(path, 1ULL << 20U);
        if (!content) return std::nullopt;
        return *content;
    }
    [[nodiscard]] bool exists(const std::string& path) { return files.attributes(path).ok(); }
    // Without the empty parent of the work folder, which stays.
    [[nodiscard]] std::vector<std::string> copiesTree() {
        auto found = pathsOf(files, files, copies);
        std::erase(found, ".Z_VT_W/");
        return found;
    }
    [[nodiscard]] std::string summary() const {
        std::string found;
        for (const std::string& line : host.lines())
            if (line.starts_with("Sync summary")) found = line;
        return found;
    }
    // The figure in the last notification that still showed a sync at work.
    [[nodiscard]] std::int64_t figure(const char* key) const {
        std::int64_t value = -1;
        for (const auto& note : host.notifications()) {
            const auto type = note.at("syncActivityType").integerValue();
            if (type == 3) value = note.at(key).integerValue();
        }
        return value;
    }
};

} // namespace vt::test
