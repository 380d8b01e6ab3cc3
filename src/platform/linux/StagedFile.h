// A new file under a temporary name beside its target: gone with the object unless it was put in its place.
// Thread: one. Owns: the temporary file. Errors: errno values, 0 for success.
#pragma once

#include "platform/linux/PathLocator.h"

#include <string>
#include <string_view>

namespace vt {

class StagedFile {
  public:
    explicit StagedFile(const Place& target) : _target(target) {}
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;
    ~StagedFile();

    // Makes it in `folder`, which holds the target.
    [[nodiscard]] int create(int folder);
    [[nodiscard]] int write(std::string_view bytes, std::uint32_t mode); // content reaches the disk
    [[nodiscard]] int publish();                                         // renames over the target

  private:
    const Place& _target;
    int _folder = -1;
    std::string _name;
    UniqueFd _file;
};

// Every byte; ENOSPC when the file takes no more.
[[nodiscard]] int writeAll(int file, std::string_view bytes);
// A file system that cannot flush a single item is not an error.
[[nodiscard]] int flushItem(int file);
// Sets a new file's permission bits; a file system without any keeps its own.
[[nodiscard]] int setNewMode(int file, std::uint32_t mode);

} // namespace vt
