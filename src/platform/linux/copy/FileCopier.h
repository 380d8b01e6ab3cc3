// Copies one file or link: made under its own name, complete or gone again. Thread: one.
// Errors: each is raised once as an event; the ending tells what was answered.
#pragma once

#include "platform/linux/copy/CopyEvents.h"
#include "platform/linux/copy/DataCopy.h"
#include "platform/linux/copy/ItemSpot.h"
#include "platform/linux/copy/MetadataCopy.h"

namespace vt {

class FileCopier {
  public:
    FileCopier(CopyExperience& experience, const DestinationCapabilities& capabilities, CopyEvents& events);

    // `source` is opened without waiting and refused with ENOTSUP when it turns out to be no plain file.
    // `readAhead`: all that is in memory of it was brought there for this copy.
    [[nodiscard]] CopyEnding copyFile(const ItemSpot& source, const ItemSpot& destination, bool readAhead = false);
    // On a destination without links nothing is made and the link counts as left out.
    [[nodiscard]] CopyEnding copyLink(const ItemSpot& source, const ItemSpot& destination);
    [[nodiscard]] std::uint64_t bytes() const { return _bytes; } // of all files made

  private:
    struct Making; // a file on its way
    [[nodiscard]] static int lookBeforeReading(Making& making);
    [[nodiscard]] CopyEnding makeFile(Making& making);
    [[nodiscard]] CopyEnding copyContent(Making& making);
    [[nodiscard]] int finish(Making& making);
    [[nodiscard]] int lookAtNewFile(Making& making, struct stat& made);

    CopyExperience& _experience;
    const DestinationCapabilities& _capabilities;
    CopyEvents& _events;
    MetadataCopy _metadata;
    std::uint64_t _bytes = 0;
};

} // namespace vt
