// Files and folders of this computer and its drives. Thread: as FileService says; between calls it keeps only which
// folders it has swept.
// Errors: as FileService says; ELOOP for a path that a link would lead out of the bound drive, EXDEV for one that leads
// into another volume mounted below it.
#pragma once

#include "platform/FileService.h"
#include "platform/linux/AbandonedFiles.h"
#include "platform/linux/PathLocator.h"

namespace vt {

class LinuxFiles final : public FileService, public FileContents {
  public:
    // `drive` may be null and outlives this.
    explicit LinuxFiles(const DriveRoot* drive = nullptr, PathLocator::Resolver resolver = PathLocator::Resolver::best);

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
    // Opens what the caller knows to be a plain file; anything else is refused before it is opened.
    [[nodiscard]] Result<UniqueFd> openRegular(const std::string& path, int flags);

    PathLocator _locator;
    AbandonedFiles _abandoned;
};

} // namespace vt
