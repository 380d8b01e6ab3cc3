// Asked just before a move destroys something on the drive: what must be set aside, and where old content waits while
// it is replaced. Thread: the drive's worker. Units: absolute raw-byte paths.
#pragma once

#include "platform/FileService.h"

#include <optional>
#include <string>

namespace vt {

class ReplacementGuard {
  public:
    virtual ~ReplacementGuard() = default;
    // False for a staged folder that only leads to items of the pass and is none itself, whatever its name: it merges.
    [[nodiscard]] virtual bool isStagedWhole(const std::string& staged) const = 0;
    // `staged` is about to take the place of what lies at `destination`. True: that must be set aside.
    virtual bool aboutToReplace(const std::string& staged, const FileAttributes& stagedAttributes,
                                const std::string& destination, const FileAttributes& present) = 0;
    // Sets what lies at `from`, the old content of `destination`, aside. Where to, or null when that failed (logged).
    virtual std::optional<std::string> keep(const std::string& from, const std::string& destination) = 0;
    virtual void putBack(const std::string& kept, const std::string& destination) = 0;
    // Where the drive cannot exchange two items: renames `destination` to a name beside it that the next preparation
    // puts back, should this process end before settleBeside(). On an error nothing has changed.
    virtual Result<std::string> standBeside(const std::string& destination) = 0;
    // Replaced: the old content goes, false when it could not. Otherwise it returns to its place.
    virtual bool settleBeside(const std::string& beside, const std::string& destination, bool replaced) = 0;
};

} // namespace vt
