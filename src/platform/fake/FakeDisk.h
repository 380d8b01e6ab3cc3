// An in-memory file tree with mounted volumes, for tests: coarse dates, no case, limits, faults and pulled drives.
// Thread: any; take lock() around a sequence of calls. Owns: every node. Errors: errno values.
#pragma once

#include "platform/Clock.h"
#include "platform/FileService.h"
#include "platform/VolumeService.h"
#include "platform/fake/FakeFaults.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

struct FakeNode {
    FileAttributes attributes; // size and device are formed when asked for
    std::string content;       // a file's bytes, a link's target
    std::map<std::string, std::string> extended;
    std::map<std::string, std::shared_ptr<FakeNode>> entries;
};

struct FakeDiskVolume {
    std::string mountPoint;
    std::uint64_t device = 0;
    DestinationCapabilities capabilities;
    bool roundsDatesUp = false; // to the next step of a coarse date granularity, else down
    std::uint64_t capacity = ~0ULL;
    bool readOnly = false;
    int goneCode = 0; // what every operation answers once the drive was pulled
    std::shared_ptr<FakeNode> root;
};

// Where a path leads: the folder is there, the node may be null.
struct FakeSpot {
    FakeDiskVolume* volume = nullptr;
    std::shared_ptr<FakeNode> folder; // null for a volume's root
    std::string name;                 // as the folder spells it
    std::shared_ptr<FakeNode> node;
};

class FakeDisk {
  public:
    explicit FakeDisk(const Clock& clock);

    // Makes the folder where it is missing and covers it. The reference stays valid until the unmount.
    FakeDiskVolume& mount(const std::string& mountPoint, const DestinationCapabilities& capabilities = {});
    void unmount(const std::string& mountPoint); // what lay under it shows again
    void pull(const std::string& mountPoint, int code);
    [[nodiscard]] FakeDiskVolume& volumeOf(const std::string& path); // the deepest one
    [[nodiscard]] FakeFaults& faults() { return _faults; }
    [[nodiscard]] std::unique_lock<std::recursive_mutex> lock() const { return std::unique_lock(_mutex); }

    // Of the path's folder links are followed, of the item itself only when asked. `fence`, unless empty, is a path
    // that no link may lead out of.
    [[nodiscard]] Result<FakeSpot> find(const std::string& path, bool follow, const std::string& fence = {});
    // The checks that any change of the spot's folder has to pass.
    [[nodiscard]] int refusalOfChange(const FakeSpot& spot) const;
    [[nodiscard]] int refusalOfNew(const FakeSpot& spot, std::size_t bytes);
    [[nodiscard]] std::uint64_t freeBytes(const FakeDiskVolume& volume) const;
    [[nodiscard]] std::shared_ptr<FakeNode> newNode(const FakeDiskVolume& volume, FileKind kind, std::uint32_t mode);
    void insert(const FakeSpot& spot, std::shared_ptr<FakeNode> node); // replaces what is there
    void erase(const FakeSpot& spot);
    void touch(const FakeDiskVolume& volume, FakeNode& node); // content changed now
    void noteChange(FakeNode& node) { node.attributes.statusChanged = _clock.now(); }
    [[nodiscard]] static Date storedDate(const FakeDiskVolume& volume, Date date);
    [[nodiscard]] static FileAttributes attributesOf(const FakeDiskVolume& volume, const FakeNode& node);

  private:
    [[nodiscard]] FakeDiskVolume* mountedAt(const std::string& path);
    [[nodiscard]] static std::string spelling(const FakeDiskVolume& volume, const FakeNode& folder,
                                              const std::string& name);

    const Clock& _clock;
    mutable std::recursive_mutex _mutex;
    std::map<std::string, std::unique_ptr<FakeDiskVolume>> _volumes; // by mount point
    FakeFaults _faults;
    std::uint64_t _lastInode = 1;
    std::uint64_t _lastDevice = 100;
};

} // namespace vt
