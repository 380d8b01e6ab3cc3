// The file systems that the computer knows, by the names and tags that volumes carry. Filled once, then only read.
// Thread: any.
// Errors: a lookup that misses answers "Unknown File System" in the user's language, and one line in the system log.
#pragma once

#include "platform/FileSystemTable.h"

#include <map>
#include <optional>
#include <string>

namespace vt {

class FSNamesAndTags {
  public:
    // Scans at once. `table` is asked again only for the NTFS-3G driver's setting, and outlives this.
    explicit FSNamesAndTags(FileSystemTable& table);

    [[nodiscard]] std::string userFSNameForPersonality(const std::string& personality) const;
    [[nodiscard]] std::string userFSNameForContentHint(const std::string& contentHint) const;
    [[nodiscard]] bool personalityIsFormattable(const std::string& personality) const;
    [[nodiscard]] bool contentHintIsFormattable(const std::string& contentHint) const;
    [[nodiscard]] std::optional<std::string> ntfsFormatterName() const;
    [[nodiscard]] std::string fat32FormatterName() const; // always "MS-DOS FAT32"
    [[nodiscard]] std::string preferredFormatterName() const;
    [[nodiscard]] std::string preferredFormatterUserName() const;
    [[nodiscard]] bool useFAT32Formatter() const;
    [[nodiscard]] std::string outputVolumeName() const; // always "Theater", the name of a newly formatted drive

  private:
    using Lookup = std::map<std::string, FileSystemPersonality>;
    void scanFSDir();
    void addPersonality(FileSystemPersonality personality);
    [[nodiscard]] bool ntfs3gIsDisabled() const;

    FileSystemTable& _table;
    Lookup _nameLookup;
    Lookup _tagLookup;
    Lookup _personalityLookup;
};

} // namespace vt
