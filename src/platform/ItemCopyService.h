// Copies one item (file, link or whole tree) with its data, dates, mode, owner, access lists and extended attributes.
// Thread: the caller's; it blocks until the copy ends and calls the observer on the same thread.
// Errors: each goes to the observer first, whose answer decides; what the destination cannot hold besides data, name
// and
//   times (owner, access lists, attributes) is left out silently.
// Units: absolute raw-byte paths; byte counts of data.
#pragma once

#include "base/Result.h"
#include "platform/FileService.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace vt {

enum class CopyWhat : std::uint8_t { file = 1, folder = 2, folderCleanup = 3, data = 4, extendedAttribute = 5 };
enum class CopyStage : std::uint8_t { start = 1, finish = 2, error = 3, progress = 4 };
enum class CopyAnswer : std::uint8_t { goOn = 0, skip = 1, quit = 2 };

struct CopyEvent {
    CopyWhat what = CopyWhat::file;
    CopyStage stage = CopyStage::start;
    std::string source;
    std::string destination;
    std::uint64_t copiedBytes = 0; // of the current file, with data progress
    std::uint64_t sourceSize = 0;  // of the current file, with file events
    Error error;                   // with stage error
};

class CopyObserver {
  public:
    virtual ~CopyObserver() = default;
    virtual CopyAnswer copyEvent(const CopyEvent& event) = 0;
};

// How a copy ended: `done` is true unless it was quit or failed; `skipped` counts items left out by the observer's
// answer.
struct CopyOutcome {
    bool done = false;
    std::uint64_t skipped = 0;
    std::uint64_t bytes = 0;
};

class ItemCopyService {
  public:
    virtual ~ItemCopyService() = default;
    // The destination must not exist (EEXIST is an error event); its parent must. Links are copied as links on both
    // ends, pipes, sockets and devices raise an error and are never opened. After an error, skip or quit nothing that
    // this call made for that item stays at the destination. The source's size and date are compared before and after:
    // a file that changed while it was read is read again, up to three times; then its copy keeps the date read before.
    virtual CopyOutcome copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) = 0;
    // A quicker copier for the entries of one folder, which go into another one under their own names and in this
    // order; some may be left out. It keeps both folders open, believes the entries' kinds and reads ahead. Neither
    // folder may be moved while it lives, and `entries` and this service outlive it. Null where nothing is gained.
    [[nodiscard]] virtual std::unique_ptr<ItemCopyService>
    forFolder(const std::string& /*source*/, const std::string& /*destination*/, std::span<const DirectoryEntry>) {
        return nullptr;
    }
};

} // namespace vt
