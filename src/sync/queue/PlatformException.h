// Raised by a service that has no other way to say that it cannot go on. A task that ends with one stays at the head of
// its queue and is tried again.
#pragma once

#include <stdexcept>

namespace vt {

class PlatformException : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

} // namespace vt
