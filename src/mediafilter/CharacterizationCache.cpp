#include "mediafilter/CharacterizationCache.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "mediafilter/CharacterizationFile.h"

#include <cerrno>

namespace vt {

namespace {

constexpr std::size_t recordsBetweenSaves = 1000;
constexpr std::uint64_t largestFile = 8ULL << 20U; // bytes; a full cache stays below
constexpr std::uint32_t fileMode = 0600;           // it tells which files a user has

} // namespace

CharacterizationKey CharacterizationKey::of(const FileAttributes& file) {
    return {file.device, file.inode, file.size, file.modified.nanoseconds(), file.statusChanged.nanoseconds()};
}

std::size_t CharacterizationCache::Hash::operator()(const CharacterizationKey& key) const {
    std::uint64_t hash = key.inode;
    for (const std::uint64_t part : {key.device, key.size, static_cast<std::uint64_t>(key.modified),
                                     static_cast<std::uint64_t>(key.statusChanged)})
        hash = (hash ^ part) * 0x9E3779B97F4A7C15ULL + (hash >> 29U);
    return static_cast<std::size_t>(hash);
}

CharacterizationCache::CharacterizationCache(FileContents& contents, std::string path)
    : _contents(contents), _path(std::move(path)) {
    load();
}

void CharacterizationCache::load() {
    const auto bytes = _contents.read(_path, largestFile);
    if (!bytes.ok() && bytes.code() == ENOENT) return;
    auto entries = bytes.ok() ? characterizationfile::decode(*bytes) : std::nullopt;
    if (!entries) {
        systemLog(formatText("the media cache %@ cannot be used and starts empty: %@",
                             {paths::displayText(_path), bytes.ok() ? "it is damaged" : bytes.error().text}));
        return;
    }
    _entries = std::move(*entries);
    for (auto entry = _entries.begin(); entry != _entries.end();)
        entry = _byKey.try_emplace(entry->first, entry).second ? std::next(entry) : _entries.erase(entry);
}

std::optional<MediaFileCharacterization> CharacterizationCache::find(const CharacterizationKey& key) {
    const std::lock_guard guard(_lock);
    const auto found = _byKey.find(key);
    if (found == _byKey.end()) return std::nullopt;
    _entries.splice(_entries.begin(), _entries, found->second);
    return found->second->second;
}

void CharacterizationCache::store(const CharacterizationKey& key, const MediaFileCharacterization& record) {
    bool saveNow = false;
    {
        const std::lock_guard guard(_lock);
        storeLocked(key, record);
        saveNow = ++_newRecords % recordsBetweenSaves == 0;
    }
    if (saveNow) save();
}

void CharacterizationCache::storeLocked(const CharacterizationKey& key, const MediaFileCharacterization& record) {
    if (const auto found = _byKey.find(key); found != _byKey.end()) {
        found->second->second = record;
        _entries.splice(_entries.begin(), _entries, found->second);
        return;
    }
    _entries.emplace_front(key, record);
    _byKey.emplace(key, _entries.begin());
    if (_entries.size() <= capacity) return;
    _byKey.erase(_entries.back().first);
    _entries.pop_back();
}

void CharacterizationCache::save() {
    const std::lock_guard oneWriter(_saving);
    std::string bytes;
    std::size_t saved = 0;
    {
        const std::lock_guard guard(_lock);
        if (_newRecords == 0) return;
        saved = _newRecords;
        bytes = characterizationfile::encode(_entries);
    }
    const auto written = _contents.writeAtomically(_path, bytes, fileMode);
    if (!written.ok()) {
        systemLog(formatText("the media cache cannot be written: %@", {written.error().describe()}));
        return;
    }
    const std::lock_guard guard(_lock);
    _newRecords -= saved;
}

std::size_t CharacterizationCache::size() const {
    const std::lock_guard guard(_lock);
    return _entries.size();
}

} // namespace vt
