// Everything the application needs from the platform; made by the agent's main() and by tests, and outlives the
// application.
#pragma once

#include "log/LogWindow.h"
#include "platform/AlertPanel.h"
#include "platform/Clock.h"
#include "platform/DriveFiles.h"
#include "platform/FileEvents.h"
#include "platform/Notifications.h"
#include "platform/Preferences.h"
#include "platform/PropertyLists.h"
#include "platform/RunLoop.h"
#include "platform/SessionBus.h"
#include "platform/SystemIdentity.h"
#include "platform/VolumeService.h"
#include "platform/Workspace.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace vt {

class ChildProcesses;
class FSNamesAndTags;
class MediaServices;
class ShellCommands;
class WorkerThreads;

namespace application {
inline constexpr const char* bundleIdentifier = "com.corvane.vantaro";
inline constexpr const char* notificationObject = "com.corvane.vantaro.notifications";
} // namespace application

struct ApplicationServices {
    RunLoop& runLoop;
    const Clock& clock;
    const SystemIdentity& system;
    Preferences& preferences;
    PropertyLists& propertyLists;
    DriveFilesFactory& driveFiles;
    VolumeService& volumes;
    Notifications& notifications;
    FileEvents* fileEvents; // null: folders are not watched
    Workspace& workspace;
    AlertPanel& alerts;
    SessionBus& bus;
    FSNamesAndTags& fileSystems;
    WorkerThreads* threads;                                         // null: threads of the language's own library
    MediaServices* media;                                           // null: no media file is valid
    ShellCommands* shell;                                           // null: no command can be started
    std::function<std::unique_ptr<LogWindow>()> makeLogWindow;      // may be empty
    std::function<void(std::chrono::milliseconds)> sleep;           // blocks the calling thread
    std::function<void(int exitCode)> quit;                         // ends the run loop
    std::string version;                                            // short version, "1.0.0"
    std::string driveFamilyFile = "/etc/vantaro/drive-family.conf"; // one pattern a line
    ChildProcesses* children = nullptr;                             // null: no child process can be started
};

} // namespace vt
