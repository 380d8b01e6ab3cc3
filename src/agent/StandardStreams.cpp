#include "agent/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace vt {

void occupyStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) != -1) continue;
        // The lowest free descriptor is the answer, and those below are taken.
        (void)::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

} // namespace vt
