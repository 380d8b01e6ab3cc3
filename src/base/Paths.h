// Path rules: joining, splitting, standardising and home abbreviation of path texts. No disk is touched and no link
// resolved. Units: paths are raw bytes separated by "/"; comparison and sorting are bytewise.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vt {

namespace paths {
[[nodiscard]] std::string join(std::string_view base, std::string_view component); // exactly one "/" between
[[nodiscard]] std::string lastComponent(std::string_view path); // "/a/b/" gives "b", "/" gives "/", "" gives ""
[[nodiscard]] std::string parent(std::string_view path);        // "/a/b" gives "/a", "/a" gives "/", "a" gives ""
// "/a/b" gives "/", "a", "b"; "~/x" gives "~", "x". Empty components are left out.
[[nodiscard]] std::vector<std::string> components(std::string_view path);
[[nodiscard]] std::string joinComponents(const std::vector<std::string>& components); // the inverse
[[nodiscard]] std::string extension(std::string_view path); // without the dot, "" when none; ".x" has none
[[nodiscard]] bool isAbsolute(std::string_view path);
// `path` is `ancestor` itself or lies below it, judged at component boundaries.
[[nodiscard]] bool isAtOrBelow(std::string_view path, std::string_view ancestor);
// Lexical clean-up of an absolute path: "//", "/./", ".." and a trailing "/" go; ".." above "/" is dropped.
[[nodiscard]] std::string clean(std::string_view path);
[[nodiscard]] bool isValidUtf8(std::string_view bytes);
// The text for log, bus and property lists: invalid bytes become U+FFFD.
[[nodiscard]] std::string displayText(std::string_view bytes);
} // namespace paths

// The rules that need to know the home folder.
class HomePaths {
  public:
    explicit HomePaths(std::string home); // absolute, without trailing "/"

    [[nodiscard]] const std::string& home() const { return _home; }
    // "~" and "~/x" with the home folder in front; "~name" and everything else unchanged.
    [[nodiscard]] std::string expandTilde(std::string_view path) const;
    // "~" for the home prefix, only at a component boundary; everything else unchanged.
    [[nodiscard]] std::string abbreviate(std::string_view path) const;
    // Expands a leading "~" and cleans: no link is resolved.
    [[nodiscard]] std::string standardise(std::string_view path) const;

  private:
    std::string _home;
};

} // namespace vt
