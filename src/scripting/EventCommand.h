// One row of the command table: a command's code, its parameter, and what it does.
#pragma once

#include "base/EventDescriptor.h"
#include "scripting/EventTarget.h"

#include <cstdint>
#include <span>
#include <string>

namespace vt {

enum class ParameterKind : std::uint8_t { none, boolean, integer, list };
enum class ReplyKind : std::uint8_t { none, boolean, integer, list, status };

// A command that is being carried out. `failure` is the error text of the reply, empty while all is well.
struct EventCall {
    EventTarget& target;
    const std::string& handler;       // the handler's name, for debug lines
    const std::string& drive;         // the mount path named by the direct object
    const EventDescriptor* parameter; // of the row's kind; null where the row has none
    EventDescriptor result;           // the direct object of the reply, or the status
    std::string failure = {};
};

struct EventCommand {
    FourCharCode id;
    const char* handler;
    ParameterKind parameterKind = ParameterKind::none;
    FourCharCode parameterKeyword = {};
    const char* parameterName = ""; // as error texts name it
    ReplyKind replyKind = ReplyKind::none;
    // The five media and filter getters spell the missing direct object's error in lower case.
    bool lowerCaseDescriptorText = false;
    void (*perform)(EventCall& call) = nullptr;
};

inline constexpr FourCharCode vantaroEventClass{0x766E5452}; // "vnTR"

// The 24 commands, in the order of their registration.
[[nodiscard]] std::span<const EventCommand> eventCommands();

} // namespace vt
