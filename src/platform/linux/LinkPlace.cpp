#include "platform/linux/LinkPlace.h"

#include "base/Paths.h"

#include <array>
#include <climits>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace vt {

std::string placeBehindLinks(const std::string& path, const std::function<bool(const std::string&)>& mayHang) {
    constexpr int mostLinks = 40;
    std::string place = "/";
    std::vector<std::string> names = paths::components(path); // the first is "/"
    int links = 0;
    for (std::size_t at = 1; at < names.size(); ++at) {
        const std::string next = paths::join(place, names[at]);
        std::array<char, PATH_MAX> target{};
        const bool knowable = next.size() < PATH_MAX && !mayHang(next);
        const ssize_t length = knowable ? ::readlink(next.c_str(), target.data(), target.size()) : -1;
        if (length <= 0 || ++links > mostLinks) {
            place = next;
            continue;
        }
        const std::string_view text(target.data(), static_cast<std::size_t>(length));
        std::string whole = text.front() == '/' ? std::string(text) : paths::join(place, text);
        for (++at; at < names.size(); ++at) whole = paths::join(whole, names[at]);
        names = paths::components(paths::clean(whole));
        place = "/";
        at = 0;
    }
    return place;
}

} // namespace vt
