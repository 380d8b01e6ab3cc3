// probe-media FILE...: describes each media file as the agent's probe sees it, with what it cost to find out.
#include "base/Paths.h"
#include "platform/linux/media/LinuxMediaProbe.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>

namespace {

const char* nameOf(vt::MediaTrack::Kind kind) {
    switch (kind) {
    case vt::MediaTrack::Kind::video:
        return "video";
    case vt::MediaTrack::Kind::sound:
        return "sound";
    case vt::MediaTrack::Kind::other:
        break;
    }
    return "other";
}

void print(const vt::MediaTrack& track) {
    std::printf("  %s, %s, format \"%s\"", nameOf(track.kind), track.enabled ? "on" : "off",
                track.format ? vt::paths::displayText(track.format->text()).c_str() : "none");
    if (track.kind == vt::MediaTrack::Kind::video)
        std::printf(", %lld x %lld pixels, %llu samples in %lld units of 1/%g s", static_cast<long long>(track.width),
                    static_cast<long long>(track.height), static_cast<unsigned long long>(track.sampleCount),
                    static_cast<long long>(track.displayDuration), track.timeScale);
    if (track.kind == vt::MediaTrack::Kind::sound)
        std::printf(", %g Hz, %lld channels", track.sampleRate, static_cast<long long>(track.channels));
    std::printf("\n");
}

vt::Result<vt::MediaDescription> describe(vt::MediaProbe& probe, const std::string& path, int& reads) {
    auto file = probe.open(path);
    if (!file.ok()) return file.error();
    for (;; ++reads) {
        auto movie = probe.describe(**file);
        if (movie.ok() || movie.code() != EAGAIN) return movie;
        if (const auto read = (*file)->readMore(); !read.ok()) return read.error();
    }
}

} // namespace

int main(int argc, char** argv) {
    vt::LinuxMediaProbe probe;
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        int reads = 0;
        const auto start = std::chrono::steady_clock::now();
        const auto movie = describe(probe, argv[i], reads);
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        std::printf("%s: ", vt::paths::displayText(argv[i]).c_str());
        if (movie.ok())
            std::printf("%g s, %zu tracks",
                        movie->timeScale > 0 ? static_cast<double>(movie->duration) / movie->timeScale : 0,
                        movie->tracks.size());
        else
            std::printf("%s", movie.error().text.c_str());
        std::printf(" (%d reads, %.2f ms)\n", reads, time.count());
        if (movie.ok())
            for (const vt::MediaTrack& track : movie->tracks) print(track);
        else
            ++failures;
    }
    return failures == 0 ? 0 : 1;
}
