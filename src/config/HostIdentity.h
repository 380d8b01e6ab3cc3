// Who this user on this computer is, as every drive's configuration records it. Thread: any; values, never references.
#pragma once

#include <string>

namespace vt {

class HostIdentity {
  public:
    virtual ~HostIdentity() = default;
    // "001B63A1B2C3-501": the computer's address as twelve upper-case hexadecimal digits, a hyphen, the user id.
    [[nodiscard]] virtual std::string uniqueHostUserId() const = 0;
};

} // namespace vt
