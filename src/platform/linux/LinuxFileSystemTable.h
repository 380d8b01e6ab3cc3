// The file systems of this computer: the usual ones of drives, and every other one that the kernel offers; one can be
// made where its program is found. Thread: any.
#pragma once

#include "platform/FileSystemTable.h"

namespace vt {

class LinuxFileSystemTable final : public FileSystemTable {
  public:
    // The folders of $PATH and those of the system's own programs; the kernel's list.
    LinuxFileSystemTable();
    LinuxFileSystemTable(std::vector<std::string> programFolders, std::string kernelList);

    [[nodiscard]] std::vector<FileSystemBundle> bundles() override;
    [[nodiscard]] std::optional<Value> ntfsDriverDisabled() override;

  private:
    [[nodiscard]] bool hasProgram(const std::string& name) const;
    [[nodiscard]] std::vector<std::string> kernelTypes() const;

    std::vector<std::string> _programFolders;
    std::string _kernelList;
};

} // namespace vt
