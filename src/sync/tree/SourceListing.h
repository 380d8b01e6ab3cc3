// The source side of a merging copy: folders in the order in which they are copied, and the search for something that
// the filter accepts. Thread: the drive's worker.
#pragma once

#include "sync/tree/HandlerCalls.h"
#include "sync/tree/ItemQuestions.h"
#include "sync/tree/TreeOperations.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class SourceListing {
  public:
    // An entry that the filter accepts, or that has something acceptable below it.
    struct Acceptable {
        std::size_t index = 0;
        bool itself = false;
    };
    SourceListing(const TreeOperations::Services& services, const HandlerCalls& calls, const ItemQuestions& questions)
        : _services(services), _calls(calls), _questions(questions) {}

    // In the file system's own order. Null when the folder cannot be listed, which is logged and owed.
    [[nodiscard]] std::optional<std::vector<DirectoryEntry>> list(const std::string& folder);
    // Links and what has failed lately come last, so that they cannot keep the others from the drive.
    [[nodiscard]] std::optional<std::vector<DirectoryEntry>> listFailuresLast(const std::string& folder);
    // Null when there is nothing acceptable in the whole tree. The entries before the one found were refused.
    [[nodiscard]] std::optional<Acceptable> firstAcceptable(const std::string& folder,
                                                            const std::vector<DirectoryEntry>& entries);

  private:
    [[nodiscard]] bool anyAcceptableBelow(const std::string& folder);

    const TreeOperations::Services& _services;
    const HandlerCalls& _calls;
    const ItemQuestions& _questions;
};

} // namespace vt
