// A file descriptor with one owner. Owns: the descriptor; it is closed with the object.
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace vt {

class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) : _descriptor(descriptor) {}
    UniqueFd(UniqueFd&& other) noexcept : _descriptor(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset();
            _descriptor = other.release();
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const { return _descriptor; }
    [[nodiscard]] bool isOpen() const { return _descriptor >= 0; }
    [[nodiscard]] int release() { return std::exchange(_descriptor, -1); }
    void reset() {
        if (_descriptor >= 0) ::close(release());
    }
    // Closes now and answers the errno of it, 0 when it went well: some file systems report a failed write only here.
    [[nodiscard]] int close() {
        if (_descriptor < 0) return 0;
        return ::close(release()) == 0 || errno == EINTR ? 0 : errno;
    }

  private:
    int _descriptor = -1;
};

} // namespace vt
