// The file systems that this computer knows, grouped as it finds them. Thread: any.
// Errors: what cannot be read is left out.
#pragma once

#include "base/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

struct FileSystemPersonality {
    std::string personality;                // "NTFS-3G", "msdos": also the kind of a disk description
    std::optional<std::string> name;        // for a person
    std::optional<std::string> contentHint; // "Windows_NTFS": also the content of a disk description
    bool canFormat = false;                 // a program that makes one is there
};

struct FileSystemBundle {
    std::string path;                                                // where it was found
    std::string infoPath;                                            // the file that describes it
    std::optional<std::vector<FileSystemPersonality>> personalities; // null when the description lacks them
};

class FileSystemTable {
  public:
    virtual ~FileSystemTable() = default;
    [[nodiscard]] virtual std::vector<FileSystemBundle> bundles() = 0;
    // The NTFS-3G driver's setting "DisableDriver"; null when there is none.
    [[nodiscard]] virtual std::optional<Value> ntfsDriverDisabled() = 0;
};

} // namespace vt
