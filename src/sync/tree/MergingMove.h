// One merging move: files, links and packages replace what is there, plain folders merge and are left empty.
// Thread: the drive's worker. Owns: the two paths at which it works and one level per folder; no recursion.
// Errors: a yes or no, see TreeOperations.
#pragma once

#include "sync/tree/HandlerCalls.h"
#include "sync/tree/ItemQuestions.h"
#include "sync/tree/Replacement.h"
#include "sync/tree/TreeOperations.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class MergingMove {
  public:
    MergingMove(const TreeOperations::Services& services, MRLErrorReporter* handler, bool toPushkey);
    bool move(const std::string& source, const std::string& destination, const FileAttributes* known);

  private:
    struct Level {
        std::vector<DirectoryEntry> entries;
        std::size_t next = 0;
        std::size_t sourceLength = 0;
        std::size_t destinationLength = 0;
        bool result = false;
    };

    // Null: a level was begun, whose end is the answer.
    std::optional<bool> enter(const FileAttributes* known, bool parentExists);
    std::optional<bool> mergeFolder();
    [[nodiscard]] bool mergesAsFolder(const FileAttributes& source) const;
    bool moveToFreePlace(bool locked, bool parentExists);
    bool replace(const FileAttributes& source, const FileAttributes& present);
    [[nodiscard]] bool setLock(const std::string& path, bool locked);
    std::optional<bool> nextEntry(Level& level);
    void takeAnswer(bool answer);
    bool endLevel();

    const TreeOperations::Services& _services;
    HandlerCalls _calls;
    ItemQuestions _questions;
    Replacement _replacement;
    bool _toPushkey;
    std::string _source;
    std::string _destination;
    std::vector<Level> _levels;
};

} // namespace vt
