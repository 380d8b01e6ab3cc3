// Texts for people and for the log in which a control character is shown instead of obeyed: no name of a file can begin
// a line of its own or drive a terminal. A control character (U+0000 to U+001F, U+007F to U+009F) is shown as "\x" and
// two upper-case digits, a line or paragraph separator as "\u2028" or "\u2029". Thread: any; pure.
#pragma once

#include <string>
#include <string_view>

namespace vt {

// What comes from outside, such as a name: every control character is shown. A backslash that would read as the
// beginning of such an escape is "\x5C", so the original can always be told; every other one stays. Any bytes.
[[nodiscard]] std::string visibleText(std::string_view bytes);

// A whole message, whose outside parts went through visibleText(): its own line ends and tabs stay, what is left of
// other control characters is shown, and invalid bytes become U+FFFD.
[[nodiscard]] std::string messageText(std::string_view bytes);

} // namespace vt
