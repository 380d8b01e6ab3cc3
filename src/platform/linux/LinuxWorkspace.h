// The desktop's conventions: the default application by xdg-open, the trash of the freedesktop trash specification.
// Thread: as Workspace.
// Errors: errno values; EXDEV when the item's volume has no trash folder that it can be moved to with one rename.
#pragma once

#include "platform/SystemIdentity.h"
#include "platform/Workspace.h"

#include <string>

namespace vt {

class LinuxWorkspace final : public Workspace {
  public:
    // `opener` is the program that opens a path or URL.
    explicit LinuxWorkspace(const SystemIdentity& system, std::string opener = "xdg-open");

    [[nodiscard]] bool open(const std::string& pathOrUrl) override;
    // Home's trash for what lies on home's volume, else the trash at the top of the item's own. Nothing is copied.
    [[nodiscard]] Result<void> recycle(const std::string& path) override;

  private:
    const SystemIdentity& _system;
    std::string _opener;
};

} // namespace vt
