// The words of the agent's own record files: one record a line, its words parted by blanks. Thread: any; pure.
#pragma once

#include <string>
#include <string_view>

namespace vt::recordtext {

// Paths may hold any byte but NUL; a line holds one of them, so blanks, controls and "%" are written as %XX.
[[nodiscard]] std::string escaped(std::string_view bytes);
[[nodiscard]] std::string unescaped(std::string_view text);
// Takes the first word, and the blank behind it, off the line.
[[nodiscard]] std::string_view nextWord(std::string_view& line);
// Takes the first line, and its end, off the text.
[[nodiscard]] std::string_view nextLine(std::string_view& text);

} // namespace vt::recordtext
