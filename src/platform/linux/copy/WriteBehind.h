// Sends what a large file has received to the disk while the copying goes on: reading and writing overlap, the flush at
// the end has little left to do, and neither what a slow drive has not taken yet nor what it has fills the memory.
// Thread: one. Errors: errno values of writes that failed, 0 for success; a file system that cannot do it is none.
// Units: bytes.
#pragma once

#include <sys/types.h>

namespace vt {

class WriteBehind {
  public:
    explicit WriteBehind(int file) : _file(file) {}
    // The file is complete up to `end`. A file that is small is left to the flush.
    [[nodiscard]] int wrote(off_t end);

  private:
    [[nodiscard]] int ask(off_t from, off_t to, unsigned flags);

    int _file;
    off_t _written = 0; // on the disk up to here
    off_t _sent = 0;    // on the way to it up to here
};

} // namespace vt
