// Sends scripting events to other applications of this session. Thread: main.
#pragma once

#include "base/EventDescriptor.h"

#include <cstdint>
#include <optional>

namespace vt {

// With an automatic return identifier and the transaction 0.
struct OutgoingEvent {
    EventDescriptor target; // of type "bund": an application's bundle identifier
    FourCharCode eventClass;
    FourCharCode eventId;
    EventDescriptor::Record parameters;
};

// How a sending ended: status 0 with the reply, or another status, as a rule without one.
struct SentEvent {
    std::int32_t status = 0;
    std::optional<EventDescriptor::Record> reply;
};

using SendMode = std::int32_t;
inline constexpr SendMode waitReply = 3;

class EventSender {
  public:
    virtual ~EventSender() = default;
    // At normal priority; with waitReply the caller waits until the reply or the platform's usual time-out.
    virtual SentEvent send(const OutgoingEvent& event, SendMode mode) = 0;
};

} // namespace vt
