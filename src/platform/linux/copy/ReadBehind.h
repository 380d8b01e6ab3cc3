// Gives back the memory that the reading of a larger file takes: a long sync does not push out what the person works
// with for content that is used once. A stretch of the file of which a sample was in memory before the copy is
// somebody's and stays. Thread: one. Errors: none; where the file system cannot tell what is in memory, all of it
// stays. Units: bytes.
#pragma once

#include <cstdint>
#include <sys/types.h>
#include <vector>

namespace vt {

class ReadBehind {
  public:
    // Of a size that no medium holds there is nothing but holes.
    [[nodiscard]] static bool isWorthIt(std::uint64_t size) { return size > 256 * 1024 && size <= 1ULL << 40; }
    // Before the first byte of `file` is read. `ours`: all that is in memory of it was read ahead for this copy.
    void begin(int file, off_t size, bool ours);
    // The file was read up to `end`.
    void read(off_t end);

  private:
    int _file = -1;
    off_t _size = 0;
    off_t _done = 0;             // up to here it is decided
    std::vector<bool> _wasThere; // by stretches, before the copy
};

} // namespace vt
