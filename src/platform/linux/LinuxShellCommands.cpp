#include "platform/linux/LinuxShellCommands.h"

#include "base/Paths.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace vt {
namespace {

constexpr int notStarted = 127;
constexpr std::size_t pieceSize = 4096;

} // namespace

ShellResult LinuxShellCommands::run(const std::string& command) {
    // A NUL would cut the command short and run something else.
    if (command.find('\0') != std::string::npos) return {notStarted, std::nullopt};
    std::FILE* pipe = popen(command.c_str(), "re");
    if (pipe == nullptr) return {notStarted, std::nullopt};
    std::string output;
    std::array<char, pieceSize> piece{};
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe))
        output.append(piece.data(), count);
    const int status = pclose(pipe);
    return {status, paths::displayText(output)};
}

} // namespace vt
