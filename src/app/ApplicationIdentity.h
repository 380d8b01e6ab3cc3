// The identifier of this user on this computer, asked once and then handed out by value. Thread: any.
#pragma once

#include "config/HostIdentity.h"
#include "platform/SystemIdentity.h"

#include <mutex>
#include <string>

namespace vt {

class ApplicationIdentity final : public HostIdentity {
  public:
    explicit ApplicationIdentity(const SystemIdentity& system) : _system(system) {}
    [[nodiscard]] std::string uniqueHostUserId() const override;
    void forget(); // the next call asks again

  private:
    const SystemIdentity& _system;
    mutable std::mutex _mutex;
    mutable std::string _identity;
};

} // namespace vt
