// Event descriptors as the bus carries them: (sv), the variant holding ay, a(sv) or a{s(sv)}.
// Thread: any.
// Errors: EINVAL naming the place ("parameters.----[2]") for a wrong shape, E2BIG above 16 MiB, ELOOP beyond 64 levels
// or
//   deeper than a message can carry.
#pragma once

#include "base/EventDescriptor.h"
#include "base/Result.h"

#include <QVariant>

namespace vt::qtdescriptors {

// Registers the bus types; once before the first message, more often does no harm.
void registerTypes();
// A record as an a{s(sv)} message argument.
[[nodiscard]] Result<QVariant> toBus(const EventDescriptor::Record& record);
// What a message argument of type a{s(sv)} holds, as QtDBus delivers it.
[[nodiscard]] Result<EventDescriptor::Record> fromBus(const QVariant& argument);

} // namespace vt::qtdescriptors
