#include "base/LogSink.h"

#include "base/Paths.h"

#include <cstdio>
#include <string>

namespace vt {

void systemLog(std::string_view text) {
    std::string line = paths::displayText(text);
    // Control characters of a hostile name must not drive a terminal.
    for (char& c : line) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7f) c = '?';
    }
    line += '\n';
    // One call for the whole line, so that lines of several threads do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace vt
