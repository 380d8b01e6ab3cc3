// Moves one file's bytes: as a shared extent, within the kernel, or through a buffer, whichever the two file systems
// can do; holes stay holes. Thread: one. Errors: errno values, 0 for success; ECANCELED when `progress` answered false.
// Units: bytes.
#pragma once

#include "platform/linux/copy/CopyExperience.h"
#include "platform/linux/copy/ReadBehind.h"
#include "platform/linux/copy/WriteBehind.h"

#include <cstdint>
#include <functional>
#include <sys/stat.h>

namespace vt {

class DataCopy {
  public:
    // Called with the bytes copied so far, at most once per MiB and once at the end of a file that is not empty.
    using Progress = std::function<bool(std::uint64_t)>;

    // `readAhead`: all that is in memory of the source was brought there for this copy.
    DataCopy(CopyExperience& experience, const Progress& progress, bool readAhead);
    // `before` is the source's state; no byte past its size is copied.
    [[nodiscard]] int copy(int source, const struct stat& before, int destination, dev_t destinationDevice);

  private:
    [[nodiscard]] int copyClone();
    [[nodiscard]] int copySparse();
    [[nodiscard]] int copySegment(off_t end); // from _at
    [[nodiscard]] int copyPiece(std::size_t length, std::size_t& copied);
    [[nodiscard]] int pieceInKernel(std::size_t length, std::size_t& copied);
    [[nodiscard]] int pieceThroughBuffer(std::size_t length, std::size_t& copied);
    [[nodiscard]] int report(bool last);

    CopyExperience& _experience;
    const Progress& _progress;
    bool _readAhead;
    const struct stat* _before = nullptr;
    int _source = -1;
    int _destination = -1;
    dev_t _destinationDevice = 0;
    DataRoad _road = DataRoad::clone;
    ReadBehind _readBehind;
    WriteBehind _writeBehind{-1};
    off_t _at = 0;
    off_t _reported = 0;
};

} // namespace vt
