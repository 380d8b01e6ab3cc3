#include "CorpusFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

namespace vt {

namespace {

// Inputs
const std::string picture = " -f lavfi -i testsrc=duration=1:rate=25:size=640x480";
const std::string tone = " -f lavfi -i sine=frequency=440:duration=1:sample_rate=44100";
const std::string surround = " -f lavfi -i anoisesrc=d=1:r=48000:a=0.1,aformat=channel_layouts=5.1";
// Encoders
const std::string h264 = " -c:v libx264 -preset ultrafast -pix_fmt yuv420p";
const std::string aac = " -c:a aac -ac 2";

std::string picturesOf(const std::string& size, int rate) {
    return " -f lavfi -i testsrc=duration=1:rate=" + std::to_string(rate) + ":size=" + size;
}

// Sixteen tracks of AC-3 and one of AAC, all enabled.
std::string seventeenTracks() {
    std::string command = picture + tone + " -map 0:v";
    for (int i = 0; i < 17; ++i) command += " -map 1:a";
    command += h264 + " -c:a ac3 -c:a:16 aac";
    for (int i = 0; i < 17; ++i) command += " -disposition:a:" + std::to_string(i) + " default";
    return command;
}

const std::map<std::string, std::string>& commands() {
    static const std::map<std::string, std::string> all = {
        {"h264.mp4", picture + tone + h264 + aac},
        {"h264-high.mov", picturesOf("1280x720", 30) + tone + h264 + " -c:a aac -ac 2 -ar 48000"},
        {"h264-wide.mp4", picturesOf("1281x720", 25) + " -c:v libx264 -preset ultrafast -pix_fmt yuv444p"},
        {"h264-fast.mp4", picturesOf("640x480", 60) + tone + h264 + aac},
        {"h264-surround.mp4", picture + surround + h264 + " -c:a aac"},
        {"h264-two-sounds.mov", picture + tone + " -map 0:v -map 1:a -map 1:a" + h264 +
                                    " -c:a:0 ac3 -c:a:1 aac -ac 2 -disposition:a:0 default -disposition:a:1 default"},
        {"h264-ac3.mp4", picture + tone + h264 + " -c:a ac3"},
        {"h264-pcm.mov", picture + " -f lavfi -i sine=duration=60:sample_rate=48000" + h264 + " -c:a pcm_s16le -ac 2"},
        {"h264.3gp", picture + tone + h264 + aac},
        {"h264-silent.mp4", picture + h264},
        {"h264-fragmented.mp4", picture + tone + h264 + aac + " -movflags frag_keyframe+empty_moov"},
        {"h265.mp4", picture + " -c:v libx265 -preset ultrafast -x265-params log-level=none"},
        {"mpeg4.mp4", picture + tone + " -c:v mpeg4" + aac},
        {"mpeg4.3gp", picture + tone + " -c:v mpeg4" + aac},
        {"mpeg4.avi", picture + tone + " -c:v mpeg4 -vtag FMP4 -c:a mp3"},
        {"mjpeg-ulaw.avi", picturesOf("1280x720", 30) + tone + " -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_mulaw -ac 1"},
        {"mjpeg-pcm.avi", picture + tone + " -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le"},
        {"jpeg-pcm.mov", picture + tone + " -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le"},
        {"two-videos.mov", picturesOf("1920x1080", 25) + picturesOf("320x240", 25) +
                               " -map 0:v -map 1:v -c:v:0 libx264 -preset ultrafast -pix_fmt yuv420p -c:v:1 mpeg4"
                               " -disposition:v:0 default -disposition:v:1 default"},
        {"disabled-video.mov", picture + picturesOf("1920x1080", 25) +
                                   " -map 0:v -map 1:v -c:v:0 libx264 -preset ultrafast -pix_fmt yuv420p -c:v:1 mpeg4"
                                   " -disposition:v:0 default -disposition:v:1 0"},
        {"seventeen-sounds.mov", seventeenTracks()},
        {"aac.m4a", tone + aac},
        {"alac.m4a", tone + " -c:a alac"},
        {"ac3.m4a", tone + " -c:a ac3 -f mp4"},
        {"aac.aac", tone + aac},
        {"mp3.mp3", tone + " -c:a mp3"},
        {"book-attached-cover.m4b",
         tone + " -f lavfi -i testsrc=size=64x64:rate=1:duration=1 -map 0:a -map 1:v -frames:v 1 -c:v png" + aac +
             " -disposition:v:0 attached_pic -f ipod"},
        {"book-cover-track.m4b",
         tone + " -f lavfi -i testsrc=size=64x64:rate=1:duration=1 -map 0:a -map 1:v -c:v png" + aac + " -f mov"},
        {"h264-two-seconds.mp4",
         " -f lavfi -i testsrc=duration=2:rate=25:size=320x240" + tone + h264 + aac + " -g 250"},
        {"h263-silent.3gp", picturesOf("176x144", 15) + " -c:v h263"},
    };
    return all;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void run(const std::string& arguments) {
    const std::string command = "timeout 60 ffmpeg -nostdin -v error -y" + arguments;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

// Clears the enabled bit of a track header; the first track is 0.
std::string withDisabledTrack(std::string movie, int track) {
    std::size_t at = 0;
    for (int i = 0; i <= track; ++i) at = movie.find("tkhd", at + 1);
    EXPECT_NE(at, std::string::npos);
    movie.at(at + 7) = static_cast<char>(movie.at(at + 7) & ~1); // version, then three bytes of flags
    return movie;
}

// No encoder makes AMR: a stream of silent frames as its file format writes them.
std::string amrSilence() {
    std::string bytes = "#!AMR\n";
    for (int frame = 0; frame < 50; ++frame) bytes += "\x3C" + std::string(31, '\0');
    return bytes;
}

// The first place where `from` stands in the file, overwritten.
std::string withCode(std::string movie, const std::string& from, const std::string& to) {
    const std::size_t at = movie.rfind(from);
    EXPECT_NE(at, std::string::npos) << from;
    return movie.replace(at, from.size(), to);
}

using Maker = std::function<void(CorpusFiles& corpus, const std::string& to)>;

// A copy of another file under a name that means something else.
Maker copyOf(const char* original) {
    return [original](CorpusFiles& corpus, const std::string& to) { write(to, contentOf(corpus.path(original))); };
}

void makeAmr(CorpusFiles& corpus, const std::string& video, const std::string& to) {
    const std::string amr = (corpus.folder() / "silence.amr").string();
    write(amr, amrSilence());
    run(" -i " + amr + video + " -c copy -f 3gp " + to);
}

// Files that are made of others, or without the program.
const std::map<std::string, Maker>& makers() {
    static const std::map<std::string, Maker> all = {
        {"text.mp4", [](auto&, auto& to) { write(to, std::string(5000, 'a') + "\nnot a movie\n"); }},
        {"text.aac", copyOf("text.mp4")},
        {"empty.mp4", [](auto&, auto& to) { write(to, ""); }},
        {"truncated.mp4",
         [](auto& corpus, auto& to) {
             const std::string whole = contentOf(corpus.path("h264.mp4"));
             write(to, whole.substr(0, whole.size() / 2));
         }},
        {"disabled-sound.mp4",
         [](auto& corpus, auto& to) { write(to, withDisabledTrack(contentOf(corpus.path("h264.mp4")), 1)); }},
        {"disabled-everything.mp4",
         [](auto& corpus, auto& to) {
             write(to, withDisabledTrack(withDisabledTrack(contentOf(corpus.path("h264.mp4")), 0), 1));
         }},
        {"protected.m4v",
         [](auto& corpus, auto& to) {
             const std::string film = withCode(contentOf(corpus.path("h264.mp4")), "avc1", "drmi");
             write(to, withCode(film, "mp4a", "drms"));
         }},
        {"protected.m4a",
         [](auto& corpus, auto& to) { write(to, withCode(contentOf(corpus.path("aac.m4a")), "mp4a", "drms")); }},
        // The second half of a film: an edit list hides the first.
        {"h264-edited.mp4",
         [](auto& corpus, auto& to) { run(" -ss 1 -i " + corpus.path("h264-two-seconds.mp4") + " -c copy " + to); }},
        {"clip.3g2x", copyOf("h264.3gp")},
        {"Movie.MP4", copyOf("h264.mp4")},
        {"h264.m4v", copyOf("h264.mp4")},
        {"cover-track.m4a", copyOf("book-cover-track.m4b")},
        {"film.m4a", copyOf("h264.mp4")},
        {"film.m4b", copyOf("h264.mp4")},
        {"sound.mp4", copyOf("aac.m4a")},
        {"sound.mov", copyOf("alac.m4a")},
        {"amr.3gp", [](auto& corpus, auto& to) { makeAmr(corpus, "", to); }},
        {"h263-amr.3gp", [](auto& corpus, auto& to) { makeAmr(corpus, " -i " + corpus.path("h263-silent.3gp"), to); }},
    };
    return all;
}

} // namespace

CorpusFiles::CorpusFiles() {
    std::string pattern = (std::filesystem::temp_directory_path() / "media-corpus-XXXXXX").string();
    const char* made = mkdtemp(pattern.data());
    EXPECT_NE(made, nullptr);
    _folder = pattern;
}

CorpusFiles::~CorpusFiles() {
    std::filesystem::remove_all(_folder);
}

std::string CorpusFiles::path(const std::string& name) {
    const std::string to = (_folder / name).string();
    if (!std::filesystem::exists(to)) make(name, to);
    EXPECT_TRUE(std::filesystem::exists(to)) << name;
    return to;
}

void CorpusFiles::make(const std::string& name, const std::string& to) {
    if (const auto command = commands().find(name); command != commands().end()) return run(command->second + " " + to);
    const auto maker = makers().find(name);
    if (maker == makers().end()) return static_cast<void>(ADD_FAILURE() << "nobody knows how to make " << name);
    maker->second(*this, to);
}

std::vector<std::string> CorpusFiles::names() {
    std::vector<std::string> all;
    for (const auto& [name, command] : commands()) all.push_back(name);
    for (const auto& [name, maker] : makers()) all.push_back(name);
    return all;
}

} // namespace vt
