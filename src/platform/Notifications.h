// Distributed notifications: to every program of this user's session, and to this process itself. Thread: main.
// Without a session bus they stay in the process.
#pragma once

#include "base/Value.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vt {

// Delivery options of a post: bit 0 deliver immediately, bit 1 to all sessions (this session's bus is the only one
// there is).
using DeliveryOptions = std::uint32_t;

class Notifications {
  public:
    virtual ~Notifications() = default;
    virtual void post(const std::string& name, const std::string& object,
                      const std::optional<Value::Dictionary>& userInfo, DeliveryOptions options) = 0;
    class Observation {
      public:
        virtual ~Observation() = default; // ends it
    };
    using Handler = std::function<void(const Value::Dictionary& userInfo)>;
    [[nodiscard]] virtual std::unique_ptr<Observation> observe(const std::string& name, const std::string& object,
                                                               Handler handler) = 0;
};

} // namespace vt
