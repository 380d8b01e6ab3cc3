// The places that every contract about files is tried on: the fake disk, and a real folder by path and as a drive.
#pragma once

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeItemCopy.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxItemCopy.h"
#include "support/OpenDriveRoot.h"
#include "support/TemporaryFolder.h"

#include <functional>
#include <memory>
#include <ostream>

namespace vt::test {

class FileGround {
  public:
    virtual ~FileGround() = default;
    [[nodiscard]] virtual std::string root() const = 0; // exists and is empty
    [[nodiscard]] virtual FileService& files() = 0;
    [[nodiscard]] virtual FileContents& contents() = 0;
    // A copier to this place, taken to have these capabilities.
    [[nodiscard]] virtual std::unique_ptr<ItemCopyService> copier(const DestinationCapabilities& capabilities) = 0;
};

class FakeGround final : public FileGround {
  public:
    FakeGround() { _disk.mount("/ground"); }
    [[nodiscard]] std::string root() const override { return "/ground"; }
    [[nodiscard]] FileService& files() override { return _files; }
    [[nodiscard]] FileContents& contents() override { return _files; }
    [[nodiscard]] std::unique_ptr<ItemCopyService> copier(const DestinationCapabilities& capabilities) override {
        _disk.volumeOf("/ground").capabilities = capabilities;
        return std::make_unique<FakeItemCopy>(_disk);
    }

  private:
    FakeClock _clock;
    FakeDisk _disk{_clock};
    FakeFiles _files{_disk};
};

class FolderGround final : public FileGround {
  public:
    enum class As : std::uint8_t { paths, drive };
    explicit FolderGround(As as, PathLocator::Resolver resolver = PathLocator::Resolver::best)
        : _drive(as == As::drive ? std::make_unique<OpenDriveRoot>(_folder.path()) : nullptr),
          _files(_drive.get(), resolver) {}
    [[nodiscard]] std::string root() const override { return _folder.path(); }
    [[nodiscard]] FileService& files() override { return _files; }
    [[nodiscard]] FileContents& contents() override { return _files; }
    [[nodiscard]] std::unique_ptr<ItemCopyService> copier(const DestinationCapabilities& capabilities) override {
        return std::make_unique<LinuxItemCopy>(_drive.get(), capabilities);
    }

  private:
    TemporaryFolder _folder;
    std::unique_ptr<OpenDriveRoot> _drive;
    LinuxFiles _files;
};

struct GroundKind {
    std::string name;
    std::function<std::unique_ptr<FileGround>()> make;
};
inline void PrintTo(const GroundKind& kind, std::ostream* out) {
    *out << kind.name;
}

inline std::vector<GroundKind> allGrounds() {
    using As = FolderGround::As;
    return {{"fake", [] { return std::make_unique<FakeGround>(); }},
            {"folder", [] { return std::make_unique<FolderGround>(As::paths); }},
            {"drive", [] { return std::make_unique<FolderGround>(As::drive); }},
            {"driveWalked", [] { return std::make_unique<FolderGround>(As::drive, PathLocator::Resolver::walk); }}};
}

} // namespace vt::test
