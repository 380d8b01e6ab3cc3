// Property-list values as the bus carries them: a{sv} with strings, b, x, t, d, ay, as, av and nested a{sv}.
// Dates travel as ISO 8601 text, null is left out; text that is not UTF-8 becomes its display text.
// Thread: any.
// Errors: EINVAL for types that no property list holds, E2BIG for more than 16 MiB, ELOOP for what is nested deeper
//   than the bus carries.
#pragma once

#include "base/Result.h"
#include "base/Value.h"

#include <QVariant>

#include <cstddef>
#include <string>

namespace vt::qtvalues {

// Limits of one message's content in either direction.
inline constexpr std::size_t largestContent = std::size_t{16} * 1024 * 1024; // bytes
// Containers inside each other that a D-Bus message may hold at most, arrays, entries, structs and variants counted.
inline constexpr int deepestMessage = 64;
// Nested values accepted from a message.
inline constexpr int deepestValue = 64;

[[nodiscard]] QString text(const std::string& bytes); // its display text
[[nodiscard]] Result<QVariantMap> toBus(const Value::Dictionary& dictionary);
// What a message argument of type a{sv} holds, as QtDBus delivers it.
[[nodiscard]] Result<Value::Dictionary> fromBus(const QVariant& argument);

} // namespace vt::qtvalues
