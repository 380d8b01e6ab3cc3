// The plain copy: one item with the platform's own copier. Thread: the drive's worker.
// Errors: true whatever the copy's outcome, deliberately; each error has gone to the handler.
#pragma once

#include "sync/tree/TreeOperations.h"

#include <string>

namespace vt {

class PlainCopy {
  public:
    PlainCopy(const TreeOperations::Services& services, MRLErrorReporter* handler, bool toPushkey)
        : _services(services), _handler(handler), _toPushkey(toPushkey) {}
    bool copy(const std::string& source, const std::string& destination, bool makeParents);

  private:
    [[nodiscard]] bool copyLink(const std::string& source, const std::string& destination);

    const TreeOperations::Services& _services;
    MRLErrorReporter* _handler;
    bool _toPushkey;
};

} // namespace vt
