// One merging copy: folders are descended into and never replaced, files are copied only where nothing is.
// Thread: the drive's worker. Owns: the two paths at which it works, and one level per folder that it stands in; no
// recursion, so a tree may be deeper than the stack. Errors: a yes or no, see TreeOperations.
#pragma once

#include "sync/tree/HandlerCalls.h"
#include "sync/tree/ItemQuestions.h"
#include "sync/tree/SourceListing.h"
#include "sync/tree/TreeOperations.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vt {

class MergingCopy {
  public:
    MergingCopy(const TreeOperations::Services& services, MRLErrorReporter* handler, bool toPushkey);
    bool copy(const std::string& source, const std::string& destination, const FileAttributes* known);

  private:
    // What is known about the two paths before they are looked at.
    struct Known {
        const FileAttributes* source = nullptr;
        bool destinationAbsent = false;
        bool destinationParentExists = false;
        std::optional<bool> acceptedWithLimit; // the filter said yes, asked with this limit
    };
    struct Level {
        std::vector<DirectoryEntry> entries;
        std::size_t next = 0;
        std::size_t refusedBefore = 0;            // the filter has refused the entries before this one
        std::optional<std::size_t> acceptedFirst; // and accepted this one
        std::size_t sourceLength = 0;
        std::size_t destinationLength = 0;
        bool limit = false;
        bool package = false;    // merged as one: a failure does not end it
        bool fresh = false;      // its folder was made by this operation
        bool folderThere = true; // its destination is known to be a folder
        bool result = false;
        std::unordered_set<std::string> names; // where the drive cannot tell all names apart
    };
    // Decide about the item at the two paths. Null: a level was begun, whose end is the answer.
    std::optional<bool> enter(const Known& known);
    std::optional<bool> enterNewFolder(const FileAttributes& source, const Known& known);
    std::optional<bool> mergePackage(const FileAttributes& source, const FileAttributes& present, bool limit,
                                     const Known& known);
    std::optional<bool> mergeFolder(bool limit);
    bool askAboutConflict();
    bool copyNew(const FileAttributes& source, const Known& known);
    bool copyItem(const FileAttributes& source);
    [[nodiscard]] ItemCopyService& copierHere();
    bool copyLink(bool destinationAbsent);
    bool makeDestinationFolder(bool parentExists);

    std::optional<bool> nextEntry(Level& level);
    [[nodiscard]] bool offeredToFilter(Level& level, std::size_t index);
    [[nodiscard]] bool nameIsRefused(const std::string& name) const;
    [[nodiscard]] bool isTwin(Level& level, const std::string& name);
    void takeAnswer(bool answer);
    bool endLevel();
    void begin(std::vector<DirectoryEntry> entries, bool limit);
    void skipFiltered(const FileAttributes& item);
    void backToLevel(const Level& level);

    const TreeOperations::Services& _services;
    HandlerCalls _calls;
    ItemQuestions _questions;
    SourceListing _listing;
    bool _toPushkey;
    std::string _source;
    std::string _destination;
    std::vector<Level> _levels;
    std::unique_ptr<ItemCopyService> _folderCopier; // for the rest of the last level, once it copies something
};

} // namespace vt
