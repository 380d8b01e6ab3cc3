// Puts one staged file, link or package in the place of another, so that the place holds old or new content at every
// moment: one rename where both are plain files, an exchange otherwise, and where the drive cannot exchange, the old
// content waits beside it. What must not be destroyed is set aside. Thread: the drive's worker.
// Errors: a yes or no; a failed rename or removal has been offered to the handler.
#pragma once

#include "sync/tree/HandlerCalls.h"
#include "sync/tree/ReplacementGuard.h"
#include "sync/tree/TreeOperations.h"

#include <optional>
#include <string>

namespace vt {

class Replacement {
  public:
    struct Outcome {
        bool moved = false;  // the staged item is in its place
        bool result = false; // what the move answers
    };
    Replacement(const TreeOperations::Services& services, const HandlerCalls& calls)
        : _services(services), _calls(calls) {}
    Outcome replace(const std::string& staged, const FileAttributes& stagedAttributes, const std::string& destination,
                    const FileAttributes& present);
    // Into a place that was seen to be empty.
    Outcome place(const std::string& staged, const std::string& destination);

  private:
    Outcome renameOver(const std::string& staged, const std::string& destination);
    Outcome exchange(const std::string& staged, const std::string& destination, bool keepOld, bool plainFiles);
    Outcome withoutExchange(const std::string& staged, const std::string& destination, bool keepOld, bool plainFiles);
    Outcome besideOld(const std::string& staged, const std::string& destination);
    Outcome removeFirst(const std::string& staged, const std::string& destination);
    [[nodiscard]] bool removeOld(const std::string& path);

    const TreeOperations::Services& _services;
    const HandlerCalls& _calls;
};

} // namespace vt
