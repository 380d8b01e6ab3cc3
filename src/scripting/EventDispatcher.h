// Takes an event apart, has its command carried out and packs the reply: one frame of steps for every command.
// Thread: main. Errors: go back in the reply as error number -50 with an English text; nothing is raised, and an event
// that
//   fails changes nothing.
#pragma once

#include "platform/SessionBus.h"
#include "scripting/EventCommand.h"

namespace vt {

class EventDispatcher {
  public:
    explicit EventDispatcher(EventTarget& target) : _target(target) {}

    // The reply's parameters, empty for an event that wants none. ENOSYS: no command has this class and id.
    Result<EventDescriptor::Record> dispatch(const BusEvent& event);

  private:
    [[nodiscard]] EventDescriptor::Record run(const EventCommand& command, const BusEvent& event);
    // The parameter that the row asks for; null with `failure` set when it is missing or of a wrong type.
    [[nodiscard]] const EventDescriptor* parameter(const EventCommand& command, const BusEvent& event,
                                                   std::string& failure);
    void debugLine(const std::string& text);

    EventTarget& _target;
};

} // namespace vt
