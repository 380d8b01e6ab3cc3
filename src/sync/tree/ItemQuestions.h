// What the tree operations ask about an item before they touch it: filter, kind, FAT limit, the drive's abilities.
// Thread: the drive's worker; one per operation, because answers about volumes are remembered.
#pragma once

#include "sync/tree/TreeOperations.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class ItemQuestions {
  public:
    explicit ItemQuestions(const TreeOperations::Services& services) : _services(services) {}

    // Null when nothing is there, or nothing that can be looked at.
    [[nodiscard]] std::optional<FileAttributes> look(const std::string& path);
    // errno of the last look() that found nothing.
    [[nodiscard]] int lastCode() const { return _lastCode; }
    [[nodiscard]] static bool isPlainFolder(const std::string& path, const FileAttributes& item);
    // The filter's answer; only a link is looked at, for what it leads to.
    [[nodiscard]] bool accepts(const std::string& path, std::string_view name, const FileAttributes& item,
                               bool limitTo4G) const;
    // Files are limited to 4 GiB at an existing `destination`.
    [[nodiscard]] bool isLimited(const std::string& destination, const FileAttributes& present);
    [[nodiscard]] const DestinationCapabilities& capabilities(const std::string& destinationFolder);
    [[nodiscard]] bool isClosed(const FileAttributes& folder) const {
        return folder.isDirectory() && _services.closed && _services.closed(folder);
    }

  private:
    const TreeOperations::Services& _services;
    int _lastCode = 0;
    std::optional<std::uint64_t> _device; // the one that _deviceIsFat speaks of
    bool _deviceIsFat = false;
    std::optional<DestinationCapabilities> _capabilities;
};

} // namespace vt
