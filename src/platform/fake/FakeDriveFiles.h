// Hands out the fake file services over one disk. Thread: any. Errors: as DriveFiles says.
#pragma once

#include "platform/DriveFiles.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeItemCopy.h"

#include <cerrno>

namespace vt {

class FakeDriveFiles final : public DriveFiles {
  public:
    FakeDriveFiles(FakeDisk& disk, const DriveRoot* root) : _files(disk, root), _copier(disk, root) {}
    [[nodiscard]] FileService& files() override { return _files; }
    [[nodiscard]] FileContents& contents() override { return _files; }
    [[nodiscard]] ItemCopyService& copier() override { return _copier; }

  private:
    FakeFiles _files;
    FakeItemCopy _copier;
};

// Recognises the volume and the folder by number, so that another mount at the same place is another drive.
class FakeDirectoryHandle final : public DirectoryHandle {
  public:
    FakeDirectoryHandle(FakeDisk& disk, FakeSpot spot) : _disk(disk), _spot(std::move(spot)) {}
    [[nodiscard]] int descriptor() const override { return static_cast<int>(_spot.node->attributes.inode); }
    [[nodiscard]] Result<std::string> identity() const override {
        const auto held = _disk.lock();
        return std::to_string(_device) + ":" + std::to_string(_spot.node->attributes.inode);
    }

  private:
    FakeDisk& _disk;
    FakeSpot _spot;
    std::uint64_t _device = _spot.volume->device;
};

class FakeDriveFilesFactory final : public DriveFilesFactory {
  public:
    explicit FakeDriveFilesFactory(FakeDisk& disk) : _disk(disk) {}
    [[nodiscard]] std::unique_ptr<DriveFiles> bind(const DriveRoot* root) override {
        return std::make_unique<FakeDriveFiles>(_disk, root);
    }
    [[nodiscard]] Result<std::unique_ptr<DirectoryHandle>> open(const std::string& directory) override {
        const auto held = _disk.lock();
        Result<FakeSpot> spot = _disk.find(directory, true);
        if (!spot) return spot.error();
        if (!spot->node) return Error::fromErrno(ENOENT, directory);
        if (!spot->node->attributes.isDirectory()) return Error::fromErrno(ENOTDIR, directory);
        std::unique_ptr<DirectoryHandle> handle = std::make_unique<FakeDirectoryHandle>(_disk, *spot);
        return handle;
    }

  private:
    FakeDisk& _disk;
};

} // namespace vt
