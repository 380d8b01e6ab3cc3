// The three standard descriptors, which whoever started the agent may have closed. Thread: main, before any other.
#pragma once

namespace vt {

// Takes the place of each one that is closed, in a mode in which its use fails: otherwise the first files and sockets
// that the agent opens would stand there, and its own messages would be written into them.
void occupyStandardStreams();

} // namespace vt
