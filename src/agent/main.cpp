// vantaro: the agent. Builds the adapters, wires them to the application, runs.
#include "agent/Signals.h"
#include "agent/StandardStreams.h"
#include "app/LogFrontEnd.h"
#include "app/VTApplicationController.h"
#include "base/LogSink.h"
#include "base/Paths.h"
#include "config/FSNamesAndTags.h"
#include "config/utilities/FileCreation.h"
#include "mediafilter/MediaCharacterizer.h"
#include "platform/HeadlessAlertPanel.h"
#include "platform/linux/LinuxChildProcesses.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxDriveFiles.h"
#include "platform/linux/LinuxFileSystemTable.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxPreferences.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "platform/linux/LinuxShellCommands.h"
#include "platform/linux/LinuxSystemIdentity.h"
#include "platform/linux/LinuxWorkerThreads.h"
#include "platform/linux/LinuxWorkspace.h"
#include "platform/linux/media/LinuxMediaProbe.h"
#include "platform/linux/volumes/LinuxVolumes.h"
#include "platform/linux/watch/LinuxFileEvents.h"
#include "platform/qt/QtConnection.h"
#include "platform/qt/QtNotifications.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtSessionBus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>

#include <clocale>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

#ifndef VANTARO_VERSION
#define VANTARO_VERSION "unknown"
#endif

namespace {

constexpr const char* alreadyRunning = "vantaro: the agent is already running for this user\n";

int usage(const char* argument) {
    std::fprintf(stderr, "vantaro: unknown argument \"%s\"; there are only --help and --version\n", argument);
    return 2;
}

// What the agent writes itself must start no sync.
std::vector<std::string> ownFiles(const vt::SystemIdentity& system) {
    const std::string home = system.home();
    const std::string log = home + "/Library/Logs/Vantaro.log";
    return {log, log + ".old", home + "/.Z_VT_W", system.configHome() + "/" + vt::application::bundleIdentifier,
            system.stateHome() + "/vantaro"};
}

bool anotherAgentRuns(const QDBusConnection& bus) {
    return bus.isConnected() && bus.interface()->isServiceRegistered(vt::application::bundleIdentifier).value();
}

// What the agent remembers for itself lies here; made on the first start, for this user alone.
std::string stateFolder(vt::FileService& files, const vt::SystemIdentity& system) {
    std::string folder = vt::paths::join(system.stateHome(), "vantaro");
    const std::uint32_t mode = 0700;
    if (!vt::createDirectoryAtPath(files, folder, &mode, true, false))
        vt::systemLog("the state folder \"" + vt::paths::displayText(folder) + "\" could not be made");
    return folder;
}

int runAgent(int& argc, char** argv) {
    QCoreApplication application(argc, argv);
    const vt::Signals endsOnSignal([] { vt::QtRunLoop::quit(0); });
    const QDBusConnection bus = vt::qtbus::openSessionBus();
    if (anotherAgentRuns(bus)) {
        std::fputs(alreadyRunning, stdout);
        return 0;
    }

    vt::QtRunLoop runLoop;
    const vt::LinuxClock clock;
    vt::LinuxFiles files;
    vt::LinuxPropertyLists propertyLists;
    vt::LinuxSystemIdentity system(files, files);
    vt::LinuxPreferences preferences({files, files, propertyLists}, system.configHome(), system.machineId());
    vt::LinuxVolumes volumes(runLoop);
    vt::LinuxDriveFilesFactory driveFiles(volumes);
    vt::QtNotifications notifications(runLoop, bus);
    vt::LinuxWorkspace workspace(system);
    vt::HeadlessAlertPanel alerts;
    vt::QtSessionBus sessionBus(bus);
    vt::LinuxFileSystemTable fileSystemTable;
    vt::FSNamesAndTags fileSystems(fileSystemTable);
    vt::LinuxWorkerThreads threads;
    vt::LinuxShellCommands shell;
    vt::LinuxChildProcesses children(runLoop);
    vt::LinuxMediaProbe mediaProbe;
    vt::CharacterizationCache cache(files, stateFolder(files, system) + "/characterizations");
    vt::MediaCharacterizer media(runLoop, mediaProbe, preferences, files, &cache);

    vt::VTApplicationController* agent = nullptr; // set before the run loop runs
    vt::WatchOptions watching;
    watching.ignored = ownFiles(system);
    watching.notice = [&agent](const std::string& line) {
        if (agent != nullptr) agent->log().logMessage(line);
    };
    vt::LinuxFileEvents fileEvents(runLoop, watching);

    vt::VTApplicationController controller(vt::ApplicationServices{
        .runLoop = runLoop,
        .clock = clock,
        .system = system,
        .preferences = preferences,
        .propertyLists = propertyLists,
        .driveFiles = driveFiles,
        .volumes = volumes,
        .notifications = notifications,
        .fileEvents = &fileEvents,
        .workspace = workspace,
        .alerts = alerts,
        .bus = sessionBus,
        .fileSystems = fileSystems,
        .threads = &threads,
        .media = &media,
        .shell = &shell,
        .makeLogWindow = {},
        .sleep = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); },
        .quit = [](int exitCode) { vt::QtRunLoop::quit(exitCode); },
        .version = VANTARO_VERSION,
        .children = &children,
    });
    agent = &controller;
    controller.awakeFromNib();
    if (!controller.applicationWillFinishLaunching()) {
        std::fputs(alreadyRunning, stdout);
        controller.cleanup();
        return 0;
    }
    const int exitCode = runLoop.exec();
    controller.applicationWillTerminate();
    cache.save();
    // Workers that still hang on a drive are not waited for, and nothing that they use is taken apart under them.
    std::fflush(nullptr);
    _exit(exitCode);
}

} // namespace

int main(int argc, char** argv) {
    vt::occupyStandardStreams();
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--version") {
            std::puts("vantaro " VANTARO_VERSION);
            return 0;
        }
        if (argument == "--help") {
            std::puts("Usage: vantaro\n\n"
                      "Runs in the background and keeps chosen folders copied onto your drives.\n"
                      "It takes no arguments; vantaroctl controls it.\n\n"
                      "  --help     show this\n"
                      "  --version  show the version");
            return 0;
        }
        return usage(argv[i]);
    }
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
    return runAgent(argc, argv);
}
