// Shares of the network as volumes: kernel mounts and the desktop's own. Both read "//GUEST:@<address>/<share>".
// Thread: any.
#pragma once

#include "platform/linux/volumes/MountTable.h"

#include <optional>
#include <string>
#include <string_view>

namespace vt {

// The mounted-from name of a kernel share mount: the address is the one it is connected to, where the mount tells it.
[[nodiscard]] std::string shareOfKernelMount(const MountEntry& mount);
// The same of an entry in the desktop's mount folder ("smb-share:server=192.168.1.7,share=public"); null for entries
// that are no such share.
[[nodiscard]] std::optional<std::string> shareOfDesktopEntry(std::string_view name);
// The entry's folder that holds `path` below the desktop's mount at `target`; empty for the mount itself.
[[nodiscard]] std::string desktopShareFolder(std::string_view path, std::string_view target);

} // namespace vt
