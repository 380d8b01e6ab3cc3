// Grounds for the volume contract: the fake service, and the real one over loop devices in mounts of its own.
#pragma once

#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeVolumes.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/volumes/DeviceNumber.h"
#include "platform/linux/volumes/LinuxVolumes.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <map>
#include <optional>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <vector>

namespace vt::test {

// Everything that this process mounts from now on is its own and ends with it.
inline void enterPrivateMounts() {
    static const bool entered = [] {
        return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }();
    if (!entered) throw std::runtime_error("mounts of its own are refused: run this test as root");
}

inline void runTool(const std::vector<std::string>& command) {
    const auto status = runAndWait(command);
    if (!status || *status != 0) throw std::runtime_error(command.front() + " failed");
}

struct FakeVolumeGround {
    FakeClock clock;
    FakeRunLoop loop{clock};
    FakeVolumes volumes{loop};
    int disks = 0;
    std::map<std::string, std::string> keys; // by mount point

    std::string makeFolder(const std::string& name) { return "/fake/" + name; }
    void removeFolder(const std::string& path) { volumes.folderGone(path); }
    void restoreFolder(const std::string& path) { volumes.folderReturned(path); }
    void mountDisk(const std::string& mountPoint) {
        keys[mountPoint] = "disk8s" + std::to_string(++disks);
        FakeMount volume;
        volume.uuid = "11111111-2222";
        volumes.mount(keys[mountPoint], mountPoint, volume);
    }
    void moveDisk(const std::string& from, const std::string& to) {
        keys[to] = keys[from];
        volumes.move(keys[to], to);
    }
    void unmountDisk(const std::string& mountPoint) { volumes.unmountKey(keys[mountPoint]); }
    void pullDisk(const std::string& mountPoint) { volumes.pull(keys[mountPoint]); }
    void forbidFolder(const std::string& path, int code) { volumes.folderErrors[path] = code; }
};

struct LinuxVolumeGround {
    LinuxVolumeGround() { enterPrivateMounts(); }
    ~LinuxVolumeGround() {
        volumes.stopObserving();
        for (const std::string& mountPoint : mounted) ::umount2(mountPoint.c_str(), MNT_DETACH);
    }
    LinuxVolumeGround(const LinuxVolumeGround&) = delete;
    LinuxVolumeGround& operator=(const LinuxVolumeGround&) = delete;

    FakeClock clock;
    FakeRunLoop loop{clock};
    TemporaryFolder folder;
    LinuxVolumes volumes{loop,
                         {.answerLimit = std::chrono::seconds(100),
                          .unmountLimit = std::chrono::seconds(100),
                          .lookInterval = std::chrono::milliseconds(10)}};
    std::vector<std::string> mounted;

    std::string makeFolder(const std::string& name) {
        std::filesystem::create_directories(folder / name);
        return folder / name;
    }
    void removeFolder(const std::string& path) { std::filesystem::remove_all(path); }
    void restoreFolder(const std::string& path) { std::filesystem::create_directories(path); }
    std::string makeImage(const std::string& type, std::uintmax_t bytes) {
        std::string image = folder / (type + ".img");
        runTool({"truncate", "-s", std::to_string(bytes), image});
        runTool({"mkfs." + type, "-q", image});
        return image;
    }
    void mountImage(const std::string& image, const std::string& mountPoint, const std::string& options = "loop") {
        runTool({"mount", "-o", options, image, mountPoint});
        mounted.push_back(mountPoint);
    }
    void mountDisk(const std::string& mountPoint) { mountImage(makeImage("ext4", 16U << 20U), mountPoint); }
    void moveDisk(const std::string& from, const std::string& to) {
        if (::mount(from.c_str(), to.c_str(), nullptr, MS_MOVE, nullptr) != 0) throw std::runtime_error("no move");
        mounted.push_back(to);
    }
    void unmountDisk(const std::string& mountPoint) {
        if (::umount2(mountPoint.c_str(), 0) != 0) throw std::runtime_error("no unmount of " + mountPoint);
    }
    // The disk has gone from one moment to the next: a device without a single sector has no medium.
    void pullDisk(const std::string& mountPoint) {
        const std::string device =
            "/dev/loop" + std::to_string(DeviceNumber::fromBsdName(volumes.statVolume(mountPoint)->mountedFrom)->minor);
        std::filesystem::resize_file(folder / "ext4.img", 0);
        runTool({"losetup", "-c", device});
    }
    void forbidFolder(const std::string& path, int code) {
        std::filesystem::remove_all(path);
        if (code == ENOTDIR) LinuxFiles().create(path, "a file", 0600).ignore();
    }
};

// Unmounts and waits for the answer, which must not come before the run loop has run.
inline Result<void> unmountWith(VolumeService& volumes, FakeRunLoop& loop, const std::string& mountPoint) {
    std::optional<Result<void>> answer;
    volumes.unmount(mountPoint, [&](const Result<void>& result) { answer = result; });
    if (answer) throw std::runtime_error("the answer came inside the call");
    if (!loop.runUntil([&] { return answer.has_value(); })) throw std::runtime_error("no answer");
    return *answer;
}

inline bool detachWith(VolumeService& volumes, FakeRunLoop& loop, const std::string& key,
                       const std::string& mountPoint) {
    std::optional<bool> answer;
    volumes.detachGone(key, mountPoint, [&](const Result<bool>& result) { answer = result.valueOr(false); });
    if (!loop.runUntil([&] { return answer.has_value(); })) throw std::runtime_error("no answer");
    return *answer;
}

// Notes events as "appeared", "changed /path", "disappeared"; the path relative to nothing, "" when there is none.
class VolumeRecorder final : public VolumeObserver {
  public:
    std::vector<std::string> events;
    std::vector<Value::Dictionary> descriptions;

    void diskAppeared(const Value::Dictionary& description) override { note("appeared", description); }
    void diskDisappeared(const Value::Dictionary& description) override { note("disappeared", description); }
    void diskDescriptionChanged(const Value::Dictionary& description) override { note("changed", description); }
    void clear() {
        events.clear();
        descriptions.clear();
    }

  private:
    void note(std::string what, const Value::Dictionary& description) {
        const auto path = description.find(diskdescription::volumePath);
        if (path != description.end()) what += " " + *path->second.asString();
        events.push_back(what);
        descriptions.push_back(description);
    }
};

} // namespace vt::test
