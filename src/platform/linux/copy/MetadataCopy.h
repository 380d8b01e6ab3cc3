// Gives a finished copy the owner, access list, extended attributes, mode and dates of its source. What the destination
// does not keep is left out silently, all but the dates. Thread: one. Errors: errno values of dates, 0 for success.
#pragma once

#include "platform/VolumeService.h"
#include "platform/linux/copy/CopyExperience.h"
#include "platform/linux/copy/ItemSpot.h"

#include <array>
#include <sys/stat.h>

namespace vt {

class MetadataCopy {
  public:
    MetadataCopy(CopyExperience& experience, const DestinationCapabilities& capabilities);

    // Owner, attributes and mode; `made` is what the copy is now.
    void copyRights(int source, const struct stat& wanted, int destination, const struct stat& made);
    // Dates of an open copy, or by its name once it is closed.
    [[nodiscard]] int setDates(int copy, const struct stat& wanted);
    [[nodiscard]] int setDates(const ItemSpot& copy, const struct stat& wanted);
    void copyLinkOwner(const ItemSpot& copy, const struct stat& wanted);

    // The permission bits a new file may have before its owner is known to be right.
    [[nodiscard]] mode_t modeToCreateWith(const struct stat& wanted) const;

  private:
    [[nodiscard]] bool setOwner(int destination, const struct stat& wanted, const struct stat& made);
    void copyAttributes(int source, dev_t device, int destination);
    void copyAttribute(int source, int destination, const char* name);
    [[nodiscard]] bool isCopied(const char* name) const;
    [[nodiscard]] bool isLater(const struct stat& copy, const struct stat& wanted) const;
    [[nodiscard]] std::array<timespec, 2> lowered(const struct stat& copy, const struct stat& wanted) const;

    CopyExperience& _experience;
    const DestinationCapabilities& _capabilities;
    uid_t _user;
};

} // namespace vt
