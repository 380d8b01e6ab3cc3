#include "platform/linux/media/ImageDescriptions.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

namespace vt {

namespace {

using namespace literals;

constexpr std::size_t mostTracks = 256; // as many as the demuxer takes

std::uint32_t bigEndian(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < length; ++i) value = value << 8U | bytes[i];
    return value;
}

// The content of one atom, its header left out.
struct Atom {
    FourCharCode type;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

class Index {
  public:
    explicit Index(const ReadBytes& read) : _read(read) {}

    // The atom at `at`, which moves behind it; null behind the last one.
    [[nodiscard]] std::optional<Atom> next(std::uint64_t& at, std::uint64_t end) const {
        std::array<std::uint8_t, 16> header{};
        if (end - at < 8 || !_read(at, header.data(), 8)) return std::nullopt;
        std::uint64_t length = bigEndian(header.data(), 4);
        std::uint64_t headerLength = 8;
        if (length == 1) { // a length of eight bytes follows
            headerLength = 16;
            if (end - at < 16 || !_read(at + 8, header.data() + 8, 8)) return std::nullopt;
            length = static_cast<std::uint64_t>(bigEndian(header.data() + 8, 4)) << 32U;
            length |= bigEndian(header.data() + 12, 4);
        }
        if (length == 0) length = end - at; // to the end of what holds it
        if (length < headerLength) return std::nullopt;
        const Atom atom{FourCharCode(bigEndian(header.data() + 4, 4)), at + headerLength,
                        at + std::min(length, end - at)};
        at = atom.end;
        return atom;
    }
    [[nodiscard]] std::optional<Atom> find(Atom in, std::initializer_list<FourCharCode> way) const {
        for (const FourCharCode type : way) {
            std::uint64_t at = in.begin;
            auto found = next(at, in.end);
            while (found && found->type != type) found = next(at, in.end);
            if (!found) return std::nullopt;
            in = *found;
        }
        return in;
    }
    [[nodiscard]] std::optional<std::uint32_t> number(const Atom& atom, std::uint64_t offset,
                                                      std::size_t length) const {
        std::array<std::uint8_t, 4> bytes{};
        if (atom.end - atom.begin < offset + length || !_read(atom.begin + offset, bytes.data(), length))
            return std::nullopt;
        return bigEndian(bytes.data(), length);
    }

  private:
    const ReadBytes& _read;
};

std::optional<std::int64_t> trackNumber(const Index& index, const Atom& track) {
    const auto header = index.find(track, {"tkhd"_fcc});
    const auto version = header ? index.number(*header, 0, 1) : std::nullopt;
    if (!version) return std::nullopt;
    return index.number(*header, *version == 1 ? 20 : 12, 4); // behind two dates of eight or four bytes
}

// Behind version, flags and the number of descriptions stands the first one, itself an atom: its type is the format.
std::optional<ImageDescription> firstOf(const Index& index, const Atom& descriptions) {
    const auto count = index.number(descriptions, 4, 4);
    if (!count || *count == 0) return std::nullopt;
    std::uint64_t at = descriptions.begin + 8;
    const auto first = index.next(at, descriptions.end);
    if (!first) return std::nullopt;
    const auto width = index.number(*first, 24, 2);
    const auto height = index.number(*first, 26, 2);
    if (!width || !height) return std::nullopt;
    return ImageDescription{0, first->type, *width, *height};
}

} // namespace

std::vector<ImageDescription> imageDescriptions(const ReadBytes& read, std::uint64_t size) {
    std::vector<ImageDescription> images;
    const Index index(read);
    const auto movie = index.find({{}, 0, size}, {"moov"_fcc});
    if (!movie) return images;
    std::uint64_t at = movie->begin;
    while (const auto track = index.next(at, movie->end)) {
        if (track->type != "trak"_fcc) continue;
        if (images.size() == mostTracks) break;
        const auto number = trackNumber(index, *track);
        const auto descriptions = index.find(*track, {"mdia"_fcc, "minf"_fcc, "stbl"_fcc, "stsd"_fcc});
        if (!number || !descriptions) continue;
        auto image = firstOf(index, *descriptions);
        if (!image) continue;
        image->track = *number;
        images.push_back(*image);
    }
    return images;
}

} // namespace vt
