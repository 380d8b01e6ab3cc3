// Which places of the folder tree belong to the system, so that a mount there is no drive. Everywhere else a person may
// mount one: below /media, /mnt, /run/media, /srv, /opt, /tmp and /var, in the home folder, or in a folder of their
// own. Thread: any; judged by names alone.
#pragma once

#include <cstdint>
#include <string_view>

namespace vt {

enum class MountPlace : std::uint8_t {
    drive,   // a person's
    program, // made by programs for themselves: no drive, and no word about the device, which may be mounted elsewhere
    system,  // what the running system stands on: its device is no drive wherever else it is mounted
};

// Of a mount point: absolute, without links.
[[nodiscard]] MountPlace mountPlace(std::string_view mountPoint);

} // namespace vt
