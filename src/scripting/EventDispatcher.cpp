#include "scripting/EventDispatcher.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "base/VisibleText.h"

#include <algorithm>
#include <cerrno>

namespace vt {

namespace {

using namespace literals;

constexpr FourCharCode keyDirectObject = "----"_fcc;
constexpr FourCharCode keyErrorNumber = "errn"_fcc;
constexpr FourCharCode keyErrorString = "errs"_fcc;
constexpr FourCharCode keyStatus = "STAT"_fcc;
constexpr std::int32_t paramErr = -50;
// What a reply is an event of, as any application's answer.
constexpr FourCharCode replyClass = "aevt"_fcc;
constexpr FourCharCode replyId = "ansr"_fcc;

bool isOfKind(const EventDescriptor& descriptor, ParameterKind kind) {
    switch (kind) {
    case ParameterKind::boolean:
        return descriptor.type() == descriptortype::typeTrue || descriptor.type() == descriptortype::typeFalse;
    case ParameterKind::integer:
        return descriptor.int32Value().has_value();
    case ParameterKind::list:
        return descriptor.type() == descriptortype::typeAEList && descriptor.list() != nullptr;
    case ParameterKind::none:
        break;
    }
    return false;
}

// Property parameters and plain ones are told apart in the debug lines, as in the error texts.
const char* expectedTypes(ParameterKind kind) {
    // An integer that is missing its type is reported with the text of the booleans; scripts match on it.
    return kind == ParameterKind::list ? "typeAEList" : "typeTrue or typeFalse";
}

EventDescriptor emptyResult(ReplyKind kind) {
    switch (kind) {
    case ReplyKind::boolean:
        return EventDescriptor::descriptorWithBOOL(false);
    default:
        return {};
    }
}

} // namespace

Result<EventDescriptor::Record> EventDispatcher::dispatch(const BusEvent& event) {
    const auto commands = eventCommands();
    const auto command = std::find_if(commands.begin(), commands.end(), [&](const EventCommand& row) {
        return event.eventClass == vantaroEventClass && row.id == event.eventId;
    });
    if (command == commands.end()) {
        return Error{
            ENOSYS,
            Disposition::skipItem,
            {},
            formatText("no command has the event class '%@' and the id '%@'",
                       {paths::displayText(event.eventClass.text()), paths::displayText(event.eventId.text())})};
    }
    return run(*command, event);
}

EventDescriptor::Record EventDispatcher::run(const EventCommand& command, const BusEvent& event) {
    const std::string handler = command.handler;
    if (_target.eventLog().debugEnabled()) {
        debugLine("> " + handler + ": " +
                  visibleText(descriptionOfEvent(event.eventClass, event.eventId, event.parameters)));
    }

    EventDescriptor::Record reply;
    std::string failure;
    std::string drive;
    const auto direct = event.parameters.find(keyDirectObject);
    if (direct == event.parameters.end()) {
        failure = command.lowerCaseDescriptorText ? "unable to get event descriptor" : "unable to get Event Descriptor";
        debugLine("-" + handler + ": " + failure + ".");
    } else if (const auto path = direct->second.getFileURL(); !path) {
        failure = "unable to retrieve main URL";
        debugLine("-" + handler + ": " + failure + ".");
    } else {
        drive = paths::clean(*path);
        debugLine("-" + handler + ": main URL is " + visibleText(drive));
    }

    const EventDescriptor* argument = nullptr;
    if (failure.empty() && command.parameterKind != ParameterKind::none) {
        argument = parameter(command, event, failure);
        // Named again just before acting; a list is taken apart first.
        if (failure.empty() && command.parameterKind != ParameterKind::list)
            debugLine("-" + handler + ": main URL is " + visibleText(drive));
    }

    EventCall call{_target, handler, drive, argument, emptyResult(command.replyKind)};
    if (failure.empty()) {
        command.perform(call);
        failure = call.failure;
    }

    if (event.wantsReply) {
        if (command.replyKind == ReplyKind::status) {
            if (failure.empty() && !call.result.isNull()) reply.emplace(keyStatus, call.result);
        } else if (command.replyKind != ReplyKind::none &&
                   (failure.empty() || command.replyKind == ReplyKind::boolean)) {
            reply.emplace(keyDirectObject, call.result);
        }
        if (!failure.empty()) {
            reply.emplace(keyErrorNumber, EventDescriptor::descriptorWithInt32(paramErr));
            reply.emplace(keyErrorString, EventDescriptor::descriptorWithText(failure));
        }
    }
    if (_target.eventLog().debugEnabled()) {
        // A sender that wants no reply has the null reply filled in.
        const std::string printed =
            event.wantsReply ? descriptionOfEvent(replyClass, replyId, reply) : EventDescriptor().description();
        debugLine("< " + handler + ": " + visibleText(printed));
    }
    if (command.replyKind == ReplyKind::status) _target.sendActivityNotification();
    return reply;
}

const EventDescriptor* EventDispatcher::parameter(const EventCommand& command, const BusEvent& event,
                                                  std::string& failure) {
    const std::string handler = command.handler;
    const std::string name = command.parameterName;
    const auto found = event.parameters.find(command.parameterKeyword);
    if (found == event.parameters.end()) {
        failure = "unable to retrieve " + name + " property";
        debugLine("-" + handler + ": cannot get " + name + " property");
        return nullptr;
    }
    if (!isOfKind(found->second, command.parameterKind)) {
        failure = name + " property not " + expectedTypes(command.parameterKind);
        debugLine("-" + handler + ": " + name + " is not " + expectedTypes(command.parameterKind) + ".");
        return nullptr;
    }
    return &found->second;
}

void EventDispatcher::debugLine(const std::string& text) {
    _target.eventLog().debugMessage(text);
}

} // namespace vt
