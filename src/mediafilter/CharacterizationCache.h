// Records of media files that were characterised before, kept between runs and shared by all drives. Only saves time:
// the file may be deleted at any moment.
// Thread: any. Owns: its records, at most `capacity`; the least recently used one goes first.
// Errors: a file that cannot be read or is damaged counts as empty, one that cannot be written is tried again at the
// next save; one line each in the system log.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"
#include "platform/FileService.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace vt {

// A file with a certain content: any write changes its dates.
struct CharacterizationKey {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;      // nanoseconds since 1970
    std::int64_t statusChanged = 0; // nanoseconds since 1970
    [[nodiscard]] static CharacterizationKey of(const FileAttributes& file);
    bool operator==(const CharacterizationKey&) const = default;
};

class CharacterizationCache {
  public:
    static constexpr std::size_t capacity = 20'000;

    // `path`: in the agent's state folder, which exists.
    CharacterizationCache(FileContents& contents, std::string path);
    [[nodiscard]] std::optional<MediaFileCharacterization> find(const CharacterizationKey& key);
    // Saves by itself after every thousand new records.
    void store(const CharacterizationKey& key, const MediaFileCharacterization& record);
    void save(); // nothing when nothing is new
    [[nodiscard]] std::size_t size() const;

  private:
    struct Hash {
        std::size_t operator()(const CharacterizationKey& key) const;
    };
    using Entry = std::pair<CharacterizationKey, MediaFileCharacterization>;

    void load();
    void storeLocked(const CharacterizationKey& key, const MediaFileCharacterization& record);

    FileContents& _contents;
    const std::string _path;
    std::mutex _saving; // taken before _lock; one writer at a time
    mutable std::mutex _lock;
    std::list<Entry> _entries; // most recently used first
    std::unordered_map<CharacterizationKey, std::list<Entry>::iterator, Hash> _byKey;
    std::size_t _newRecords = 0;
};

} // namespace vt
