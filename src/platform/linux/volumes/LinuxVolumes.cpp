#include "platform/linux/volumes/LinuxVolumes.h"

#include "base/Paths.h"
#include "platform/linux/LinkPlace.h"
#include "platform/linux/volumes/BackgroundCalls.h"
#include "platform/linux/volumes/CurrentMounts.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/DiskDescriptions.h"
#include "platform/linux/volumes/FileSystemTraits.h"
#include "platform/linux/volumes/FolderDrives.h"
#include "platform/linux/volumes/MountPlaces.h"
#include "platform/linux/volumes/NetworkShares.h"
#include "platform/linux/volumes/TimedCall.h"
#include "platform/linux/volumes/Unmount.h"
#include "platform/linux/volumes/VolumeLook.h"
#include "platform/linux/volumes/VolumeMonitor.h"
#include "platform/linux/volumes/VolumeSurvey.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <sys/statvfs.h>
#include <utility>

namespace vt {

struct LinuxVolumes::Core {
    explicit Core(LinuxVolumesSettings with) : settings(with), calls(with.answerLimit), unmounts(with.unmountLimit) {}
    LinuxVolumesSettings settings;
    FolderDrives folders;
    TimedCalls calls;
    TimedCalls unmounts;
    std::shared_ptr<CurrentMounts> mounts = std::make_shared<CurrentMounts>(); // shared with calls that still hang

    [[nodiscard]] Result<VolumeLook> look(const std::string& path);
    // What the watch saw last: where a drive that is mounted twice is served. Empty while nobody observes.
    [[nodiscard]] std::shared_ptr<const VolumeSnapshot> lastLook() const {
        const std::lock_guard guard(_lookLock);
        return _lastLook;
    }
    void setLastLook(VolumeSnapshot look) {
        auto next = std::make_shared<const VolumeSnapshot>(std::move(look));
        const std::lock_guard guard(_lookLock);
        _lastLook.swap(next);
    }

  private:
    mutable std::mutex _lookLock;
    std::shared_ptr<const VolumeSnapshot> _lastLook = std::make_shared<const VolumeSnapshot>();
};

namespace {

// A file system that met an error turns read-only without a change of the table.
bool isReadOnlyNow(const MountEntry& mount) {
    struct statvfs space = {};
    return ::statvfs(mount.target.c_str(), &space) == 0 ? (space.f_flag & ST_RDONLY) != 0 : mount.readOnly;
}

} // namespace

// Only a share or a program's file system may take its time; everything else is asked directly.
Result<VolumeLook> LinuxVolumes::Core::look(const std::string& path) {
    const auto table = mounts->get();
    if (!table) return table.error();
    const auto mayHang = [&](const std::string& place) {
        const MountEntry* const at = mountAbove(**table, place);
        return at != nullptr &&
               (at->type.starts_with("fuse") || fileSystemTraits(at->type).nature == FileSystemNature::network);
    };
    const std::string place = placeBehindLinks(paths::clean(path), mayHang);
    const MountEntry* const mount = mountAbove(**table, place);
    if (mount == nullptr || !mayHang(place)) return lookAtVolume(path, *mounts);
    return calls.run<VolumeLook>(mount->target, [path, held = mounts] { return lookAtVolume(path, *held); });
}

// The helper thread and the way of its events to the observer.
class LinuxVolumes::Watch {
  public:
    Watch(RunLoop& runLoop, std::shared_ptr<Core> core, VolumeObserver& observer)
        : _runLoop(runLoop), _core(std::move(core)), _survey(_core->folders, _core->calls),
          _inbox(std::make_shared<Inbox>(Inbox{&observer})),
          _monitor([this](VolumeMonitor::Since since) { return look(since); }, _core->settings.lookInterval) {}
    ~Watch() { _inbox->observer = nullptr; } // what is under way is dropped
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    void lookAgain() { _monitor.lookAgain(); }

  private:
    struct Inbox {
        VolumeObserver* observer; // main thread
    };

    // On the monitor's thread.
    bool look(VolumeMonitor::Since since) {
        const VolumeSnapshot& now = _survey.look(since == VolumeMonitor::Since::lastLook);
        // Taken after the look, so that none is missed; one that the look still saw counts at the next.
        _forgotten.merge(_core->folders.takeForgotten());
        auto events = _isFirst ? firstVolumeEvents(now) : volumeEvents(*_core->lastLook(), now, _forgotten);
        std::erase_if(_forgotten, [&now](const std::string& key) { return !now.contains(key); });
        _isFirst = false;
        _core->setLastLook(now);
        if (!events.empty())
            _runLoop.performLater([inbox = _inbox, events = std::move(events)] { deliver(*inbox, events); });
        return _survey.mustPoll();
    }

    static void deliver(const Inbox& inbox, const std::vector<VolumeEvent>& events) {
        for (const VolumeEvent& event : events) {
            if (!inbox.observer) return; // it may stop inside an event
            switch (event.what) {
            case VolumeEvent::What::appeared:
                inbox.observer->diskAppeared(event.description);
                break;
            case VolumeEvent::What::disappeared:
                inbox.observer->diskDisappeared(event.description);
                break;
            case VolumeEvent::What::changed:
                inbox.observer->diskDescriptionChanged(event.description);
                break;
            }
        }
    }

    RunLoop& _runLoop;
    std::shared_ptr<Core> _core;
    VolumeSurvey _survey;             // monitor's thread, as the two below
    std::set<std::string> _forgotten; // keys of folder drives that were let go
    bool _isFirst = true;
    std::shared_ptr<Inbox> _inbox;
    VolumeMonitor _monitor; // last: its thread ends before everything that it uses
};

LinuxVolumes::LinuxVolumes(RunLoop& runLoop, LinuxVolumesSettings settings)
    : _runLoop(runLoop), _core(std::make_shared<Core>(settings)),
      _background(std::make_shared<BackgroundCalls>(runLoop)) {}

LinuxVolumes::~LinuxVolumes() {
    _background->end();
}

Result<VolumeStat> LinuxVolumes::statVolume(const std::string& path) {
    const auto look = _core->look(path);
    if (!look) return look.error();
    const MountEntry& mount = look->mount;
    const std::string type = resolvedType(mount);
    VolumeStat stat;
    stat.mountedOn = mount.target;
    stat.mountedFrom = mount.source;
    stat.typeName = fileSystemTraits(type).statName;
    stat.totalBytes = look->totalBytes;
    stat.freeBytes = look->freeBytes;
    stat.readOnly = look->readOnly;
    const std::string shareFolder =
        mount.type == "fuse.gvfsd-fuse" ? desktopShareFolder(look->realPath, mount.target) : "";
    if (const auto folder = _core->folders.owner(look->realPath)) {
        stat.mountedOn = folder->path;
        stat.mountedFrom = "/dev/" + folder->bsdName;
    } else if (const auto device = blockDeviceOf(mount)) {
        stat.mountedFrom = "/dev/" + device->bsdName();
    } else if (!shareFolder.empty()) {
        stat.mountedOn = shareFolder;
        stat.mountedFrom = shareOfDesktopEntry(paths::lastComponent(shareFolder)).value_or(mount.source);
    } else if (stat.typeName == "smbfs") {
        stat.mountedFrom = shareOfKernelMount(mount);
    }
    return stat;
}

DestinationCapabilities LinuxVolumes::capabilities(const std::string& path) {
    const auto look = _core->look(path);
    if (!look) return {};
    const std::string type = resolvedType(look->mount);
    DestinationCapabilities can = fileSystemTraits(type).capabilities;
    if (look->foldsCase) can.caseSensitive = false;
    // Small inodes of the ext family have no room for birth times and fractions of a second.
    constexpr std::int64_t second = 1'000'000'000;
    if (type.starts_with("ext") && !look->keepsBirthTimes) can.dateGranularity = second;
    return can;
}

std::vector<std::string> LinuxVolumes::mountedVolumes() {
    std::vector<std::string> volumes;
    const auto current = _core->mounts->get();
    if (!current) return volumes;
    const MountTable& table = **current;
    for (const auto& [key, mount] : VolumeSurvey::disks(table, *_core->lastLook())) {
        const auto device = blockDeviceOf(mount);
        if (device && deviceIsPresent(*device)) volumes.push_back(mount.target);
    }
    for (const ShareMount& share : VolumeSurvey::shares(table, _core->calls).shares)
        volumes.push_back(share.mountPoint);
    for (const MountEntry& mount : table) {
        const FileSystemNature nature = fileSystemTraits(mount.type).nature;
        const bool plain = nature == FileSystemNature::memory || nature == FileSystemNature::user;
        const bool onDevice = blockDeviceOf(mount).has_value();
        if (plain && !onDevice && mountPlace(mount.target) == MountPlace::drive) volumes.push_back(mount.target);
    }
    for (const FolderDrive& drive : _core->folders.refresh(table)) volumes.push_back(drive.path);
    std::sort(volumes.begin(), volumes.end());
    volumes.erase(std::unique(volumes.begin(), volumes.end()), volumes.end());
    return volumes;
}

std::optional<Value::Dictionary> LinuxVolumes::describe(const std::string& mountPoint) {
    const std::string path = paths::clean(mountPoint);
    if (const auto folder = _core->folders.at(path)) return describeFolder(*folder);
    const auto table = _core->mounts->get();
    if (!table) return std::nullopt;
    const MountEntry* above = mountAbove(**table, path);
    if (above && above->type == "fuse.gvfsd-fuse" && desktopShareFolder(path, above->target) == path)
        if (const auto share = shareOfDesktopEntry(paths::lastComponent(path))) return describeShare(path, *share);
    const MountEntry* mount = mountAt(**table, path);
    if (!mount) return std::nullopt;
    if (const auto device = blockDeviceOf(*mount)) {
        const auto now = [entry = *mount, device]() mutable {
            entry.readOnly = isReadOnlyNow(entry);
            return describeDisk(entry, *device);
        };
        const auto description = _core->calls.run<Value::Dictionary>("description of " + path, now);
        return description ? std::optional(*description) : std::nullopt;
    }
    if (fileSystemTraits(mount->type).statName == "smbfs") return describeShare(path, shareOfKernelMount(*mount));
    return std::nullopt;
}

void LinuxVolumes::startObserving(VolumeObserver& observer) {
    stopObserving();
    _watch = std::make_unique<Watch>(_runLoop, _core, observer);
}

void LinuxVolumes::stopObserving() {
    _watch.reset();
    _core->setLastLook({});
}

Result<void> LinuxVolumes::addFolderDrive(const std::string& path) {
    auto added = _core->folders.add(path);
    if (_watch) _watch->lookAgain();
    return added;
}

void LinuxVolumes::removeFolderDrive(const std::string& path) {
    _core->folders.remove(path);
    if (_watch) _watch->lookAgain();
}

void LinuxVolumes::unmount(const std::string& mountPoint, UnmountDone done) {
    const std::string path = paths::clean(mountPoint);
    if (_core->folders.at(path)) {
        removeFolderDrive(path);
        _runLoop.performLater([done = std::move(done)] { done({}); });
        return;
    }
    _background->run<void>(
        [core = _core, path] { return core->unmounts.run<void>(path, [path] { return unmountVolume(path); }); },
        std::move(done));
}

void LinuxVolumes::detachGone(const std::string& mediaBsdName, const std::string& mountPoint, DetachDone done) {
    const std::string path = paths::clean(mountPoint);
    const auto device = DeviceNumber::fromBsdName(mediaBsdName);
    if (!device) {
        _runLoop.performLater([done = std::move(done)] { done(false); });
        return;
    }
    _background->run<bool>([path, device = *device] { return detachGoneMount(path, device); }, std::move(done));
}

} // namespace vt
