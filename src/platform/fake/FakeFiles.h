// Files and folders on a fake disk. Thread: any. Errors: as FileService says; those that the disk's faults name too.
#pragma once

#include "platform/DriveRoot.h"
#include "platform/FileService.h"
#include "platform/fake/FakeDisk.h"

#include <optional>

namespace vt {

class FakeFiles final : public FileService, public FileContents {
  public:
    // `disk` and `drive`, which may be null, outlive this.
    explicit FakeFiles(FakeDisk& disk, const DriveRoot* drive = nullptr) : _disk(disk), _drive(drive) {}

    [[nodiscard]] Result<FileAttributes> attributes(const std::string& path) override;
    [[nodiscard]] Result<FileAttributes> attributesFollowing(const std::string& path) override;
    [[nodiscard]] Result<std::vector<DirectoryEntry>> list(const std::string& path) override;
    [[nodiscard]] Result<std::vector<std::string>> listNames(const std::string& path) override;
    [[nodiscard]] Result<void> makeDirectory(const std::string& path, std::uint32_t mode) override;
    [[nodiscard]] Result<void> move(const std::string& from, const std::string& to, Replace replace) override;
    [[nodiscard]] Result<void> remove(const std::string& path, const RemovalQuestion& question) override;
    [[nodiscard]] Result<void> checkWritable(const std::string& folder) override;
    [[nodiscard]] Result<std::string> readLink(const std::string& path) override;
    [[nodiscard]] Result<void> makeLink(const std::string& path, const std::string& target) override;
    [[nodiscard]] Result<void> setImmutable(const std::string& path, bool immutable) override;
    [[nodiscard]] Result<void> setMode(const std::string& path, std::uint32_t mode) override;
    [[nodiscard]] Result<void> setModified(const std::string& path, Date modified) override;

    [[nodiscard]] Result<std::string> read(const std::string& path, std::uint64_t limit) override;
    [[nodiscard]] Result<void> writeAtomically(const std::string& path, std::string_view bytes,
                                               std::uint32_t mode) override;
    [[nodiscard]] Result<void> append(const std::string& path, std::string_view bytes) override;
    [[nodiscard]] Result<std::unique_ptr<Appender>> appender(const std::string& path) override;
    [[nodiscard]] Result<void> create(const std::string& path, std::string_view bytes, std::uint32_t mode) override;
    [[nodiscard]] Result<void> flushVolume(const std::string& path) override;
    [[nodiscard]] Result<std::unique_ptr<Lock>> lock(const std::string& path, int milliseconds) override;

  private:
    enum class Missing : std::uint8_t { refused, allowed };
    // Notes the call, lets the faults and the drive speak, and finds the item.
    [[nodiscard]] Result<FakeSpot> begin(const char* operation, const std::string& path, Missing missing,
                                         bool follow = false);
    [[nodiscard]] Result<FakeSpot> locate(const std::string& path, bool follow);
    [[nodiscard]] Result<FakeSpot> beginRegular(const char* operation, const std::string& path);
    struct Removal { // one call of remove
        const RemovalQuestion& question;
        std::optional<Error> first;
        bool stopped = false;
        bool failed(int code, const std::string& path); // false
    };
    // Whether nothing stays.
    bool removeBelow(const FakeSpot& spot, const std::string& path, Removal& removal);

    FakeDisk& _disk;
    const DriveRoot* _drive;
};

} // namespace vt
