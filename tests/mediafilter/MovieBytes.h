// Movie files put together byte by byte, without content: what no encoder writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vt::moviebytes {

inline std::string number(std::uint64_t value, int length) {
    std::string bytes;
    for (int i = length - 1; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
    return bytes;
}

inline std::string zeros(std::size_t count) {
    return std::string(count, '\0');
}

inline std::string atom(const std::string& type, const std::string& content) {
    return number(content.size() + 8, 4) + type + content;
}

// The same with its length in eight bytes.
inline std::string longAtom(const std::string& type, const std::string& content) {
    return number(1, 4) + type + number(content.size() + 16, 8) + content;
}

inline std::string imageDescription(const std::string& format, std::uint64_t width, std::uint64_t height) {
    return atom(format, zeros(6) + number(1, 2) + zeros(16) + number(width, 2) + number(height, 2) +
                            number(0x480000, 4) + number(0x480000, 4) + zeros(4) + number(1, 2) + zeros(32) +
                            number(24, 2) + number(0xFFFF, 2));
}

struct Track {
    std::uint64_t number = 1;
    std::vector<std::string> descriptions;
    std::uint64_t timeScale = 600; // units per second
    std::uint64_t samples = 30;
    std::uint64_t unitsPerSample = 20;
    std::uint64_t version = 0; // of the track header: 1 has longer dates
};

inline std::string table(const std::vector<std::string>& descriptions) {
    std::string content = zeros(4) + number(descriptions.size(), 4);
    for (const std::string& description : descriptions) content += description;
    return atom("stsd", content);
}

// An enabled video track whose samples lie nowhere.
inline std::string videoTrack(const Track& track) {
    const std::uint64_t duration = track.samples * track.unitsPerSample;
    const std::size_t dates = track.version == 1 ? 16 : 8;
    const std::string header =
        atom("tkhd", number(track.version, 1) + number(1, 3) + zeros(dates) + number(track.number, 4) + zeros(4) +
                         number(duration, track.version == 1 ? 8 : 4) + zeros(60));
    const std::string media = atom("mdhd", zeros(12) + number(track.timeScale, 4) + number(duration, 4) + zeros(4));
    const std::string handler = atom("hdlr", zeros(8) + "vide" + zeros(13));
    const std::string samples =
        table(track.descriptions) +
        atom("stts", zeros(4) + number(1, 4) + number(track.samples, 4) + number(track.unitsPerSample, 4)) +
        atom("stsc", zeros(8)) + atom("stsz", zeros(12)) + atom("stco", zeros(8));
    const std::string information = atom("minf", atom("vmhd", zeros(12)) + atom("stbl", samples));
    return atom("trak", header + atom("mdia", media + handler + information));
}

// One second long, whatever its tracks say.
inline std::string movie(const std::vector<Track>& tracks) {
    std::string content = atom("mvhd", zeros(12) + number(600, 4) + number(600, 4) + zeros(80));
    for (const Track& track : tracks) content += videoTrack(track);
    return atom("ftyp", "isom" + zeros(4)) + atom("moov", content);
}

} // namespace vt::moviebytes
