#include "platform/linux/volumes/NetworkShares.h"

#include "base/Paths.h"

#include <charconv>

namespace vt {

namespace {

constexpr std::string_view desktopPrefix = "smb-share:";

std::string mountedFrom(std::string_view address, std::string_view share) {
    std::string text = "//GUEST:@";
    return text.append(address).append("/").append(share);
}

std::string percentDecoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const char* digits = text.data() + i + 1;
        if (text[i] == '%' && i + 3 <= text.size() &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            result.push_back(static_cast<char>(value));
            i += 2;
        } else {
            result.push_back(text[i]);
        }
    }
    return result;
}

// The value of "name=value" in a list separated by commas.
std::string field(std::string_view list, std::string_view name) {
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(','));
        if (item.size() > name.size() && item.starts_with(name) && item[name.size()] == '=')
            return percentDecoded(item.substr(name.size() + 1));
        list.remove_prefix(std::min(list.size(), item.size() + 1));
    }
    return {};
}

} // namespace

std::string shareOfKernelMount(const MountEntry& mount) {
    std::string_view source = mount.source;
    if (!source.starts_with("//")) return mount.source;
    source.remove_prefix(2);
    const auto slash = source.find('/');
    const std::string_view host = source.substr(0, slash);
    const std::string_view share = slash == std::string_view::npos ? "" : source.substr(slash + 1);
    const std::string address = mount.option("addr");
    return mountedFrom(address.empty() ? host : address, share);
}

std::optional<std::string> shareOfDesktopEntry(std::string_view name) {
    if (!name.starts_with(desktopPrefix)) return std::nullopt;
    name.remove_prefix(desktopPrefix.size());
    const std::string server = field(name, "server");
    const std::string share = field(name, "share");
    if (server.empty() || share.empty()) return std::nullopt;
    return mountedFrom(server, share);
}

std::string desktopShareFolder(std::string_view path, std::string_view target) {
    if (path == target || !paths::isAtOrBelow(path, target)) return {};
    const auto end = path.find('/', target.size() + 1);
    return std::string(path.substr(0, end));
}

} // namespace vt
