// File URLs by RFC 8089 over RFC 3986: percent-escapes, bytes as they are, host part empty or "localhost".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vt {

// "file:///a%20b" for "/a b". Every byte outside the unreserved set and "/" is escaped, so any path round-trips.
// Null for a path that is not absolute or holds NUL.
[[nodiscard]] std::optional<std::string> fileUrlOfPath(std::string_view path);
// The path of a file URL, unescaped but not cleaned; null for any other URL, one that is not UTF-8, a broken escape, an
// escaped or raw NUL, another host.
[[nodiscard]] std::optional<std::string> pathOfFileUrl(std::string_view url);

} // namespace vt
