#include "mediafilter/CharacterizationFile.h"

#include <bit>
#include <cstdint>
#include <type_traits>

namespace vt::characterizationfile {

namespace {

constexpr std::string_view magic = "VTMC";
// Changes with the layout, the codec tables and what a file is asked: a record of older ones says nothing.
constexpr std::uint32_t version = 2;

class Writer {
  public:
    template <typename Number> void put(Number number) {
        auto bits = static_cast<std::uint64_t>(number);
        for (std::size_t i = 0; i < sizeof(Number); ++i, bits >>= 8U) bytes.push_back(static_cast<char>(bits & 0xFFU));
    }
    void putReal(float real) { put(std::bit_cast<std::uint32_t>(real)); }
    std::string bytes;
};

class Reader {
  public:
    explicit Reader(std::string_view bytes) : _rest(bytes) {}
    // Past the end everything reads as 0 and the reader has failed.
    template <typename Number> Number get() {
        if (_rest.size() < sizeof(Number)) {
            _failed = true;
            _rest = {};
            return 0;
        }
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i)
            bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(_rest[i])) << (8U * i);
        _rest.remove_prefix(sizeof(Number));
        return static_cast<Number>(bits);
    }
    float getReal() { return std::bit_cast<float>(get<std::uint32_t>()); }
    [[nodiscard]] bool failed() const { return _failed; }
    [[nodiscard]] bool atEnd() const { return _rest.empty(); }

  private:
    std::string_view _rest;
    bool _failed = false;
};

// FNV-1a: finds damage, not forgery; the file is the user's own.
std::uint64_t checksum(std::string_view bytes) {
    std::uint64_t sum = 0xCBF29CE484222325ULL;
    for (const char byte : bytes) sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3ULL;
    return sum;
}

void write(Writer& out, const Entry& entry) {
    const auto& [key, record] = entry;
    out.put(key.device);
    out.put(key.inode);
    out.put(key.size);
    out.put(key.modified);
    out.put(key.statusChanged);
    out.put(record.containerType);
    const unsigned flags = (record.valid ? 1U : 0U) | (record.hasVideo ? 2U : 0U) | (record.hasAudio ? 4U : 0U);
    out.put(static_cast<std::uint8_t>(flags));
    out.putReal(record.duration);
    out.put(record.videoCodec);
    out.put(record.width);
    out.put(record.height);
    out.putReal(record.frameRate);
    out.put(static_cast<std::uint8_t>(record.audioTrackCount));
    for (std::size_t i = 0; i < record.audioTrackCount; ++i) {
        out.put(record.audioTracks.at(i).codec);
        out.putReal(record.audioTracks.at(i).sampleRate);
        out.put(record.audioTracks.at(i).channels);
    }
}

std::optional<Entry> read(Reader& in) {
    Entry entry;
    auto& [key, record] = entry;
    key.device = in.get<std::uint64_t>();
    key.inode = in.get<std::uint64_t>();
    key.size = in.get<std::uint64_t>();
    key.modified = in.get<std::int64_t>();
    key.statusChanged = in.get<std::int64_t>();
    record.containerType = in.get<std::int32_t>();
    const unsigned flags = in.get<std::uint8_t>();
    record.valid = (flags & 1U) != 0;
    record.hasVideo = (flags & 2U) != 0;
    record.hasAudio = (flags & 4U) != 0;
    record.duration = in.getReal();
    record.videoCodec = in.get<std::int32_t>();
    record.width = in.get<std::int64_t>();
    record.height = in.get<std::int64_t>();
    record.frameRate = in.getReal();
    record.audioTrackCount = in.get<std::uint8_t>();
    if (record.audioTrackCount > MediaFileCharacterization::maximumAudioTracks) return std::nullopt;
    for (std::size_t i = 0; i < record.audioTrackCount; ++i) {
        record.audioTracks.at(i).codec = in.get<std::int32_t>();
        record.audioTracks.at(i).sampleRate = in.getReal();
        record.audioTracks.at(i).channels = in.get<std::int64_t>();
    }
    return in.failed() ? std::nullopt : std::optional(entry);
}

} // namespace

std::string encode(const std::list<Entry>& entries) {
    Writer out;
    out.bytes = magic;
    out.put(version);
    out.put(static_cast<std::uint32_t>(entries.size()));
    for (const Entry& entry : entries) write(out, entry);
    out.put(checksum(out.bytes));
    return std::move(out.bytes);
}

std::optional<std::list<Entry>> decode(std::string_view bytes) {
    if (!bytes.starts_with(magic) || bytes.size() < magic.size() + sizeof(std::uint64_t)) return std::nullopt;
    const std::string_view content = bytes.substr(0, bytes.size() - sizeof(std::uint64_t));
    Reader sum(bytes.substr(content.size()));
    if (sum.get<std::uint64_t>() != checksum(content)) return std::nullopt;

    Reader in(content.substr(magic.size()));
    if (in.get<std::uint32_t>() != version) return std::nullopt;
    const auto count = in.get<std::uint32_t>();
    if (count > CharacterizationCache::capacity) return std::nullopt;
    std::list<Entry> entries;
    for (std::uint32_t i = 0; i < count; ++i) {
        auto entry = read(in);
        if (!entry) return std::nullopt;
        entries.push_back(*entry);
    }
    if (in.failed() || !in.atEnd()) return std::nullopt;
    return entries;
}

} // namespace vt::characterizationfile
