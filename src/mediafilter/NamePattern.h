// One name pattern: a POSIX extended expression that is searched in a base name. The common shapes are answered without
// the expression engine, with the same result.
// Thread: any after construction. Owns: the compiled expression.
// Errors: a pattern that does not compile matches nothing; compileResult() says why.
// Units: names are bytes without NUL, in the C locale whatever the process's is; case is ignored for ASCII only.
#pragma once

#include <memory>
#include <regex.h>
#include <string>
#include <string_view>

namespace vt {

class NamePattern {
  public:
    NamePattern() = default; // matches nothing, compileResult -1
    NamePattern(std::string_view pattern, bool ignoreCase);

    [[nodiscard]] int compileResult() const { return _compileResult; } // of regcomp; 0: compiled
    [[nodiscard]] bool matches(std::string_view name) const;
    // The extension in lower case, without its dot, when the pattern is exactly "ends with this extension, in any
    // case"; empty for every other pattern.
    [[nodiscard]] const std::string& plainExtension() const { return _plainExtension; }
    // What the expression engine alone says: what matches() has to agree with.
    [[nodiscard]] bool matchesByEngine(std::string_view name) const;

  private:
    struct Free {
        void operator()(regex_t* expression) const;
    };

    int _compileResult = -1;
    bool _matchesEverything = false;
    std::string _plainExtension;
    std::string _requiredText;                  // lower case; every match holds it, in any case
    std::unique_ptr<regex_t, Free> _expression; // null unless compiled
};

// The ASCII letters in lower case, every other byte as it is.
[[nodiscard]] constexpr char foldedByte(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

} // namespace vt
