// Volumes that a test mounts and pulls by a call. Events come at the run loop's next turn, in the order and with the
// keys of the real service.
// Thread: the asking operations on any; everything else main.
#pragma once

#include "platform/RunLoop.h"
#include "platform/VolumeService.h"

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace vt {

// A disk or share of the test. What a test leaves out is filled in by the key and mount point.
struct FakeMount {
    std::string fileSystem = "ext4"; // type name and kind
    std::string uuid;
    std::string number; // the file system's own, where it has no UUID
    std::string vendor;
    std::string model;
    std::string revision;
    std::string content = "Linux";
    std::string mountedFrom; // empty: "/dev/" + the key
    std::uint64_t totalBytes = 1ULL << 30U;
    std::uint64_t freeBytes = 1ULL << 29U;
    bool readOnly = false;
    bool internal = false;
    bool network = false;
    DestinationCapabilities capabilities;
    std::string label; // empty: the mount point's last component
};

class FakeVolumes final : public VolumeService {
  public:
    explicit FakeVolumes(RunLoop& runLoop) : _runLoop(runLoop), _inbox(std::make_shared<Inbox>()) {}

    // A stick is plugged: `key` is its media BSD name ("disk8s1"), for a share any name.
    void plug(const std::string& key, const FakeMount& volume);
    // Plugs it first where that has not happened. A share has one event: it appears with its path.
    void mount(const std::string& key, const std::string& mountPoint, const FakeMount& volume = {});
    void unmountKey(const std::string& key);
    void unplug(const std::string& key); // it disappears; one that is mounted is unmounted by whoever mounted it
    void pull(const std::string& key);   // pulled while it is mounted: its mount stays behind
    std::map<std::string, std::string> leftMounts; // keys of disks that were pulled, by mount point
    // Keeps unmounts waiting until completeUnmounts(), as a drive does that still has much to write out.
    bool unmountsWait = false;
    void completeUnmounts();
    void move(const std::string& key, const std::string& mountPoint);
    // Edits a volume without an event: full disks, read-only remounts.
    FakeMount& volume(const std::string& key) { return _disks.at(key).volume; }
    // Errors of single calls, by path; erase to end them.
    std::map<std::string, Error> statErrors;
    std::function<void()> observingEnds;                     // may be empty
    std::function<void(const std::string& path)> beforeStat; // the volume may change between an event and a look
    std::map<std::string, Error> unmountErrors;
    // What addFolderDrive() answers for a path; every other folder is there.
    std::map<std::string, int> folderErrors;
    // A folder drive goes away and comes back, as its folder does.
    void folderGone(const std::string& path);
    void folderReturned(const std::string& path);

    [[nodiscard]] Result<VolumeStat> statVolume(const std::string& path) override;
    [[nodiscard]] DestinationCapabilities capabilities(const std::string& path) override;
    [[nodiscard]] std::vector<std::string> mountedVolumes() override;
    [[nodiscard]] std::optional<Value::Dictionary> describe(const std::string& mountPoint) override;
    void startObserving(VolumeObserver& observer) override;
    void stopObserving() override;
    [[nodiscard]] Result<void> addFolderDrive(const std::string& path) override;
    void removeFolderDrive(const std::string& path) override;
    void unmount(const std::string& mountPoint, UnmountDone done) override;
    void detachGone(const std::string& mediaBsdName, const std::string& mountPoint, DetachDone done) override;

  private:
    struct Disk {
        FakeMount volume;
        std::string mountPoint; // empty: not mounted
        bool folder = false;
    };
    struct Inbox {
        VolumeObserver* observer = nullptr;
    };
    using Report = void (VolumeObserver::*)(const Value::Dictionary&);
    [[nodiscard]] Value::Dictionary description(const std::string& key, const Disk& disk) const;
    [[nodiscard]] const std::pair<const std::string, Disk>* holding(const std::string& path) const; // under the lock
    [[nodiscard]] std::string keyOf(const std::string& mountPoint) const;
    void report(Report what, Value::Dictionary description);
    void setMountPoint(const std::string& key, const std::string& mountPoint);
    void folderCame(const std::string& path, bool plugged);
    [[nodiscard]] Result<void> unmountNow(const std::string& mountPoint);

    RunLoop& _runLoop;
    std::shared_ptr<Inbox> _inbox;
    mutable std::mutex _lock;
    std::map<std::string, Disk> _disks;             // by key, folder drives too
    std::map<std::string, std::string> _folderKeys; // of adopted paths, there or away
    std::vector<std::function<void()>> _waitingUnmounts;
    int _nextFolder = 1;
};

} // namespace vt
