// Opens what lies below a directory handle without leaving it. Thread: any.
// Errors: the functions answer errno values, 0 for success.
#pragma once

#include "platform/linux/UniqueFd.h"

#include <cstdint>
#include <sys/types.h>

namespace vt::beneath {

enum class Mounts : std::uint8_t { stay, cross };

// An ordinary openat, closed on exec and repeated when a signal comes.
[[nodiscard]] int openAt(int directory, const char* name, int flags, mode_t mode, UniqueFd& opened);
// Whether the kernel resolves a path beneath a handle itself.
[[nodiscard]] bool kernelResolves();
// Resolved by the kernel: links are followed while they stay below. ELOOP for one that leads out, EXDEV at a mount.
[[nodiscard]] int open(int directory, const char* relative, int flags, mode_t mode, UniqueFd& opened);
// Resolved here, component by component, following no link at all (ELOOP).
[[nodiscard]] int walk(int directory, const char* relative, int flags, mode_t mode, UniqueFd& opened);
// A direct subfolder for reading. ENOTDIR or ELOOP for a link, EXDEV for a mount point when staying.
[[nodiscard]] int openFolder(int directory, const char* name, Mounts mounts, UniqueFd& opened);

} // namespace vt::beneath
