// The mount table as it stands, read again only where something was mounted, unmounted or mounted anew since.
// Thread: any; one lock, held while the table is read. Owns: a descriptor through which the kernel tells of changes.
// Errors: as readMountTable(). A file system that turns read-only by itself is no change: whoever needs to know asks
// it.
#pragma once

#include "platform/linux/UniqueFd.h"
#include "platform/linux/volumes/MountTable.h"

#include <memory>
#include <mutex>

namespace vt {

class CurrentMounts {
  public:
    using Table = std::shared_ptr<const MountTable>;

    // Complete, as readSettledMountTable() is: no change ran into its reading, unless it never rests.
    [[nodiscard]] Result<Table> get();
    // The next question reads the table: a folder above a mount point was renamed, of which the kernel tells nobody.
    void forget();

  private:
    [[nodiscard]] bool changedSinceLastQuestion() const;

    std::mutex _lock;
    UniqueFd _changes; // opened with the first question; where it cannot be, each one reads the table
    Table _table;      // null: has to be read
};

} // namespace vt
