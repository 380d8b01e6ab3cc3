// The whole application on fakes: drives are plugged and pulled by a call, the clock stands still, and workers wait
// until a test lets them run.
#pragma once

#include "app/ApplicationServices.h"
#include "app/DriveArrival.h"
#include "app/DriveCommands.h"
#include "app/DrivesService.h"
#include "app/VTApplicationController.h"
#include "platform/WorkerThreads.h"
#include "platform/fake/FakeFileEvents.h"
#include "platform/fake/FakeNotifications.h"
#include "platform/fake/FakeSessionBus.h"
#include "support/SyncWorld.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vt::test {

// Worker threads that stand still until they are let run.
class StillThreads final : public WorkerThreads {
  public:
    std::vector<std::function<void()>> bodies;

    [[nodiscard]] bool start(std::size_t, std::function<void()> body) override {
        if (_runs)
            _threads.emplace_back(std::move(body));
        else
            bodies.push_back(std::move(body));
        return true;
    }
    void letRun() {
        _runs = true;
        for (auto& body : bodies) _threads.emplace_back(std::move(body));
        bodies.clear();
    }
    void join() {
        for (auto& thread : _threads) thread.join();
        _threads.clear();
    }
    ~StillThreads() override { join(); }

  private:
    bool _runs = false;
    std::vector<std::thread> _threads;
};

class VersionedIdentity final : public FakeSystemIdentity {
  public:
    std::optional<std::int32_t> version = 0x1080;
    mutable int asked = 0;
    [[nodiscard]] std::optional<std::int32_t> systemVersion() const override {
        ++asked;
        return version;
    }
};

struct AppWorld {
    static constexpr const char* home = "/home/ada";
    static constexpr const char* stick = "/media/stick";
    static constexpr const char* identifier = "0A1B2C3D4E5F-501";

    FakeClock clock{at(0)};
    FakeDisk disk{clock};
    FakeFiles files{disk};
    FakeDriveFilesFactory driveFiles{disk};
    FakeRunLoop loop{clock};
    FakeVolumes volumes{loop};
    LinuxPropertyLists propertyLists;
    FakePreferences preferences;
    VersionedIdentity system;
    FakeWorkspace workspace;
    FakeAlertPanel alerts;
    WorldTable table;
    FSNamesAndTags names{table};
    FakeNotifications notifications{loop};
    FakeFileEvents events{loop};
    FakeSessionBus bus;
    StillThreads threads;
    MediaServices* media = nullptr; // set before start()
    std::vector<std::chrono::milliseconds> slept;
    std::vector<int> quits;
    std::unique_ptr<VTApplicationController> app;

    explicit AppWorld(bool debug = true) {
        makeFolders(std::string(home) + "/Music");
        system.folders[SystemIdentity::UserFolder::music] = std::string(home) + "/Music";
        preferences.set(application::bundleIdentifier, PreferenceHost::any, "debug", debug);
    }
    ~AppWorld() {
        if (!app) return;
        threads.letRun();
        app->cleanup();
        // A process ends without waiting; here a worker of a drive that left must not outlive what it talks to.
        threads.join();
        loop.runPending();
        app.reset();
    }

    ApplicationServices services() {
        return {.runLoop = loop,
                .clock = clock,
                .system = system,
                .preferences = preferences,
                .propertyLists = propertyLists,
                .driveFiles = driveFiles,
                .volumes = volumes,
                .notifications = notifications,
                .fileEvents = &events,
                .workspace = workspace,
                .alerts = alerts,
                .bus = bus,
                .fileSystems = names,
                .threads = &threads,
                .media = media,
                .shell = nullptr,
                .makeLogWindow = {},
                .sleep = [this](std::chrono::milliseconds time) { slept.push_back(time); },
                .quit = [this](int code) { quits.push_back(code); },
                .version = "1.2.3"};
    }
    void start() {
        app = std::make_unique<VTApplicationController>(services());
        app->awakeFromNib();
        ASSERT_TRUE(app->applicationWillFinishLaunching());
        loop.runPending();
    }
    // A new start of the agent on the same computer.
    void restart() {
        threads.letRun();
        app->applicationWillTerminate();
        threads.join();
        loop.runPending();
        app.reset();
        start();
    }

    void makeFolders(const std::string& folder) {
        std::string made = "/";
        for (const auto& name : paths::components(folder)) {
            if (name == "/") continue;
            made = paths::join(made, name);
            if (!files.attributes(made)) files.makeDirectory(made, 0755).ignore();
        }
    }
    // A Talmont stick is of the drive family: it is served without being adopted.
    static FakeMount family() {
        FakeMount volume;
        volume.uuid = "1111-2222";
        volume.vendor = "Talmont";
        return volume;
    }
    void mount(const std::string& mountPoint, const std::string& key, const FakeMount& volume) {
        disk.mount(mountPoint, volume.capabilities).readOnly = volume.readOnly;
        volumes.mount(key, mountPoint, volume);
        loop.runPending();
    }
    void unmount(const std::string& mountPoint, const std::string& key) {
        volumes.unmountKey(key);
        disk.unmount(mountPoint);
        loop.runPending();
    }
    // Away and back, with everything on it.
    void mountAgain(const std::string& mountPoint, const std::string& key) {
        volumes.unmountKey(key);
        volumes.mount(key, mountPoint);
        loop.runPending();
    }
    void pass(int milliseconds) { loop.advance(std::chrono::milliseconds(milliseconds)); }

    [[nodiscard]] std::shared_ptr<VTSyncController> controllerAt(const std::string& key) const {
        return app->registry().controllerForKey(key);
    }
    [[nodiscard]] std::vector<std::string> keys() const {
        std::vector<std::string> found;
        for (const auto& [key, controller] : app->registry().all()) found.push_back(key);
        return found;
    }
    // The lines of the whole log without their dates.
    [[nodiscard]] std::vector<std::string> log() {
        app->log().flushLog();
        return logFile();
    }
    // Those that have reached the file.
    [[nodiscard]] std::vector<std::string> logFile() {
        const auto text = files.read(std::string(home) + "/Library/Logs/Vantaro.log", 1U << 24U).valueOr("");
        std::vector<std::string> lines;
        for (std::size_t from = 0; from < text.size();) {
            const auto end = std::min(text.find('\n', from), text.size());
            std::string line = text.substr(from, end - from);
            if (line.size() >= 20 && line[4] == '/' && line[19] == ' ') line.erase(0, 20);
            lines.push_back(std::move(line));
            from = end + 1;
        }
        return lines;
    }
    [[nodiscard]] bool logged(const std::string& line) {
        const auto lines = log();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    // Why a mounted volume is not served; "" when it is, "-" when it is not listed.
    [[nodiscard]] std::string reason(const std::string& mountPoint) {
        for (const auto& volume : app->drivesService().volumes()) {
            if (*volume.at("mountPoint").asString() != mountPoint) continue;
            const auto found = volume.find("reason");
            return found == volume.end() ? "" : *found->second.asString();
        }
        return "-";
    }
    // The bus's adopt: the error's text, or "" when the drive was answered.
    [[nodiscard]] std::string adopt(const std::string& path) {
        std::string answer = "no answer";
        app->drivesService().adopt(
            path, [&](const Result<Value::Dictionary>& drive) { answer = drive.ok() ? "" : drive.error().text; });
        loop.runPending();
        return answer;
    }
    [[nodiscard]] std::string ask(void (DrivesService::*command)(const std::string&, BusService::Completion),
                                  const std::string& path) {
        std::string answer = "no answer";
        (app->drivesService().*command)(path,
                                        [&](const Result<void>& done) { answer = done.ok() ? "" : done.error().text; });
        loop.runPending();
        return answer;
    }
    [[nodiscard]] std::optional<std::string> read(const std::string& path) {
        auto content = files.read(path, 1ULL << 20U);
        return content.ok() ? std::optional(*content) : std::nullopt;
    }
};

} // namespace vt::test
