// Tells which parts of a file are in memory, without reading any. Thread: one. Owns: a view of the file.
// Errors: none; what the system does not tell counts as being there. Units: bytes.
#pragma once

#include <sys/types.h>

namespace vt {

class PagesInMemory {
  public:
    PagesInMemory(int file, off_t size);
    PagesInMemory(const PagesInMemory&) = delete;
    PagesInMemory& operator=(const PagesInMemory&) = delete;
    ~PagesInMemory();
    // Whether there is any of the bytes from `from` up to `end`, by samples.
    [[nodiscard]] bool any(off_t from, off_t end) const;

  private:
    off_t _size;
    void* _start;
};

} // namespace vt
