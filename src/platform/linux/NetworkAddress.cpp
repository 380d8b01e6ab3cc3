#include "platform/linux/NetworkAddress.h"

#include "platform/linux/UniqueFd.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <tuple>
#include <vector>

namespace vt {
namespace {

constexpr std::size_t addressBytes = 6;
constexpr int ethernetType = 1;

std::string firstLine(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::optional<int> numberIn(const std::filesystem::path& path) {
    const std::string line = firstLine(path);
    int number = 0;
    const auto [end, failure] = std::from_chars(line.data(), line.data() + line.size(), number);
    return failure == std::errc() ? std::optional<int>(number) : std::nullopt;
}

std::string hexadecimal(const std::array<unsigned char, addressBytes>& bytes) {
    static constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0fU];
    }
    return text;
}

// "0a:1b:2c:3d:4e:5f" as the kernel writes it.
std::string withoutColons(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == ':') continue;
        result += c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return result;
}

bool isUsable(const std::string& address) {
    return isNetworkAddress(address) && address != "000000000000" && address != "FFFFFFFFFFFF";
}

struct Card {
    bool wireless = false;
    int index = 0;
    std::string name;
    auto operator<=>(const Card&) const = default; // Ethernet first, then by index
};

std::optional<Card> physicalCard(const std::filesystem::path& folder) {
    std::error_code failure;
    const bool physical = std::filesystem::exists(folder / "device", failure);
    if (!physical || numberIn(folder / "type") != ethernetType) return std::nullopt;
    const bool wireless =
        std::filesystem::exists(folder / "wireless", failure) || std::filesystem::exists(folder / "phy80211", failure);
    return Card{wireless, numberIn(folder / "ifindex").value_or(0), folder.filename().string()};
}

} // namespace

std::optional<std::string> askKernelForAddress(const std::string& interface) {
    if (interface.size() >= IFNAMSIZ) return std::nullopt;
    const UniqueFd socketFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    // The request ends in an array of any length, which lies in the room behind it.
    struct {
        alignas(ethtool_perm_addr) unsigned char room[sizeof(ethtool_perm_addr) + 32];
    } answer{};
    ethtool_perm_addr request{};
    request.cmd = ETHTOOL_GPERMADDR;
    request.size = 32;
    std::memcpy(answer.room, &request, sizeof request);
    ifreq call{};
    std::copy(interface.begin(), interface.end(), call.ifr_name);
    call.ifr_data = reinterpret_cast<char*>(answer.room);
    if (socketFd.get() < 0 || ioctl(socketFd.get(), SIOCETHTOOL, &call) != 0) return std::nullopt;
    std::memcpy(&request, answer.room, sizeof request);
    if (request.size != addressBytes) return std::nullopt;
    std::array<unsigned char, addressBytes> bytes{};
    std::memcpy(bytes.data(), answer.room + sizeof request, bytes.size());
    return hexadecimal(bytes);
}

std::optional<std::string> primaryNetworkAddress(const std::string& folder, const PermanentAddress& permanent) {
    std::vector<Card> cards;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure))
        if (auto card = physicalCard(entry->path())) cards.push_back(std::move(*card));
    std::sort(cards.begin(), cards.end());
    for (const Card& card : cards) {
        auto address = permanent(card.name);
        if (!address || !isUsable(*address))
            address = withoutColons(firstLine(std::filesystem::path(folder) / card.name / "address"));
        if (isUsable(*address)) return address;
    }
    return std::nullopt;
}

std::string addressFromMachineId(const std::string& machineId) {
    // FNV-1a: any function does that is the same on every start and spreads well.
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : machineId) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    std::array<unsigned char, addressBytes> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(hash >> (8U * i));
    bytes[0] = static_cast<unsigned char>((bytes[0] | 0x02U) & 0xfeU); // locally administered, one station
    return hexadecimal(bytes);
}

bool isNetworkAddress(const std::string& text) {
    return text.size() == 2 * addressBytes && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
           });
}

} // namespace vt
