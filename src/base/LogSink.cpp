#include "base/LogSink.h"

#include "base/VisibleText.h"

#include <cstdio>
#include <string>

namespace vt {

void systemLog(std::string_view text) {
    const std::string line = messageText(text) + '\n';
    // One call for the whole line, so that lines of several threads do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace vt
