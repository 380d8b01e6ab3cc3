// Which names a drive takes for the same one. Thread: any; a value.
#pragma once

#include <string>
#include <string_view>

namespace vt {

class NameRule {
  public:
    explicit NameRule(bool caseSensitive) : _caseSensitive(caseSensitive) {}

    [[nodiscard]] bool caseSensitive() const { return _caseSensitive; }
    // Two names or paths that the drive cannot tell apart have the same key. Knows the letters of the Latin, Greek and
    // Cyrillic alphabets; bytes that are not UTF-8 stay as they are.
    [[nodiscard]] std::string key(std::string_view text) const;

  private:
    bool _caseSensitive;
};

} // namespace vt
