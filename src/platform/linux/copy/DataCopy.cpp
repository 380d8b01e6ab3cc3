#include "platform/linux/copy/DataCopy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vt {

namespace {

constexpr off_t pieceSize = static_cast<off_t>(CopyExperience::bufferSize);
constexpr off_t statBlock = 512; // the unit of st_blocks, whatever the file system's own

// The file systems cannot do it together; a slower road may.
bool roadIsClosed(int code) {
    return code == EXDEV || code == EOPNOTSUPP || code == ENOTTY || code == ENOSYS || code == EPERM || code == EBADF ||
           code == EINVAL || code == ETXTBSY;
}

} // namespace

DataCopy::DataCopy(CopyExperience& experience, const Progress& progress, bool readAhead)
    : _experience(experience), _progress(progress), _readAhead(readAhead) {}

int DataCopy::copy(int source, const struct stat& before, int destination, dev_t destinationDevice) {
    _source = source;
    _before = &before;
    _destination = destination;
    _writeBehind = WriteBehind(destination);
    _destinationDevice = destinationDevice;
    _road = _experience.road(before.st_dev, destinationDevice);
    _at = 0;
    _reported = 0;
    if (before.st_size == 0) return 0;
    if (_road == DataRoad::clone) {
        const int code = copyClone();
        if (!roadIsClosed(code)) return code;
        // EINVAL speaks of this one file; anything else holds for the next ones too.
        _road = code == EXDEV ? DataRoad::plain : DataRoad::range;
        if (code != EINVAL) _experience.setRoad(before.st_dev, destinationDevice, _road);
    }
    _readBehind.begin(source, before.st_size, _readAhead);
    const bool sparse = before.st_blocks * statBlock < before.st_size;
    const int code = sparse ? copySparse() : copySegment(before.st_size);
    return code != 0 ? code : report(true);
}

int DataCopy::copyClone() {
    if (::ioctl(_destination, FICLONE, _source) != 0) return errno;
    // What the source has gained since is not this copy's.
    _at = _before->st_size;
    return report(true);
}

int DataCopy::copySparse() {
    while (_at < _before->st_size) {
        const off_t data = ::lseek(_source, _at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break; // a hole up to the end
        if (data < 0) return errno == EINVAL ? copySegment(_before->st_size) : errno;
        off_t hole = ::lseek(_source, data, SEEK_HOLE);
        if (hole < 0) return errno;
        _at = std::min(data, _before->st_size);
        hole = std::min(hole, _before->st_size);
        const off_t started = _at;
        if (const int code = copySegment(hole); code != 0) return code;
        if (_at < hole || _at == started) break; // the source has become shorter
    }
    _at = _before->st_size;
    return ::ftruncate(_destination, _before->st_size) == 0 ? 0 : errno;
}

int DataCopy::copySegment(off_t end) {
    while (_at < end) {
        std::size_t copied = 0;
        const int code = copyPiece(static_cast<std::size_t>(std::min(pieceSize, end - _at)), copied);
        if (code != 0) return code;
        if (copied == 0) return 0; // shorter than it was: the look afterwards sees it
        _at += static_cast<off_t>(copied);
        if (const int failed = _writeBehind.wrote(_at); failed != 0) return failed;
        _readBehind.read(_at);
        if (_at - _reported >= pieceSize && _at < _before->st_size)
            if (const int stop = report(false); stop != 0) return stop;
    }
    return 0;
}

int DataCopy::copyPiece(std::size_t length, std::size_t& copied) {
    if (_road != DataRoad::plain) {
        const int code = pieceInKernel(length, copied);
        if (code == 0 && copied > 0) return 0;
        if (code != 0 && !roadIsClosed(code)) return code;
        // Some file systems say "nothing copied" where reading gives bytes, so nothing is concluded from that.
        _road = DataRoad::plain;
        if (code != 0) _experience.setRoad(_before->st_dev, _destinationDevice, _road);
    }
    return pieceThroughBuffer(length, copied);
}

int DataCopy::pieceInKernel(std::size_t length, std::size_t& copied) {
    off_t from = _at;
    off_t to = _at;
    ssize_t count = -1;
    do count = ::copy_file_range(_source, &from, _destination, &to, length, 0);
    while (count < 0 && errno == EINTR);
    if (count < 0) return errno;
    copied = static_cast<std::size_t>(count);
    return 0;
}

int DataCopy::pieceThroughBuffer(std::size_t length, std::size_t& copied) {
    char* buffer = _experience.buffer();
    ssize_t count = -1;
    do count = ::pread(_source, buffer, length, _at);
    while (count < 0 && errno == EINTR);
    if (count < 0) return errno;
    for (std::size_t done = 0; done < static_cast<std::size_t>(count);) {
        const ssize_t written = ::pwrite(_destination, buffer + done, static_cast<std::size_t>(count) - done,
                                         _at + static_cast<off_t>(done));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        if (written == 0) return ENOSPC;
        done += static_cast<std::size_t>(written);
    }
    copied = static_cast<std::size_t>(count);
    return 0;
}

int DataCopy::report(bool last) {
    _reported = _at;
    if (last && _at == 0) return 0;
    return _progress(static_cast<std::uint64_t>(_at)) ? 0 : ECANCELED;
}

} // namespace vt
