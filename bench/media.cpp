// What the media filter costs. Usage: bench_media names | bench_media files FILE...
// "names" prints how many names a processor second are decided by their name alone; "files" how many of the given
// files a processor second are characterised, without any cache.
#include "mediafilter/MediaCharacterizer.h"
#include "mediafilter/MediaClasses.h"
#include "mediafilter/VTFileValidator.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/media/LinuxMediaProbe.h"

#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr double atLeast = 1; // seconds

// What the process has used: other programs on the machine do not count.
double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

class NoExclusions final : public vt::ExclusionTables {
  public:
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return _none; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return _none; }

  private:
    std::vector<std::string> _none;
};

// Runs `once` until the time is over; how often a processor second, `count` for each run.
template <typename Once> double rateOf(std::size_t count, Once once) {
    const double start = processorSeconds();
    std::size_t done = 0;
    do {
        once();
        done += count;
    } while (processorSeconds() - start < atLeast);
    return static_cast<double>(done) / (processorSeconds() - start);
}

std::vector<std::string> someNames() {
    const char* const extensions[] = {"jpg",  "JPG", "png", "mp3",  "pdf", "txt",
                                      "docx", "exe", "o",   "flac", "zip", "cpp"};
    std::vector<std::string> names;
    for (std::size_t i = 0; i < 1200; ++i)
        names.push_back("Holiday 2012, picture " + std::to_string(i) + "." + extensions[i % std::size(extensions)]);
    return names;
}

int measureNames() {
    const NoExclusions exclusions;
    vt::LinuxFiles files;
    vt::FileAttributes regular;
    regular.kind = vt::FileKind::regular;
    regular.size = 1000;
    const std::vector<std::string> names = someNames();
    std::vector<std::string> paths;
    for (const std::string& name : names) paths.push_back("/home/ada/Pictures/" + name);
    for (const vt::VTMediaClass mediaClass : {vt::VTMediaClass::unlimited, vt::VTMediaClass::appleHigh}) {
        vt::VTFileValidator validator(exclusions, vt::HomePaths("/home/ada"), files);
        for (const vt::MediaKind kind : vt::mediaKinds)
            validator.addContainerValidators(vt::mediaList(mediaClass, kind));
        std::size_t accepted = 0;
        const double rate = rateOf(names.size(), [&] {
            for (std::size_t i = 0; i < names.size(); ++i)
                if (validator.shouldCopyKnownItem(paths[i], names[i], false, &regular)) ++accepted;
        });
        if (accepted == 0) return 1; // nothing was decided at all
        std::printf("%s %.0f\n", mediaClass == vt::VTMediaClass::unlimited ? "unlimited" : "apple-high", rate);
    }
    return 0;
}

int measureFiles(const std::vector<std::string>& paths) {
    vt::FakeClock clock;
    vt::FakeRunLoop loop(clock);
    vt::FakePreferences preferences;
    vt::LinuxMediaProbe probe;
    vt::LinuxFiles files;
    vt::MediaCharacterizer media(loop, probe, preferences, files, nullptr);
    std::size_t invalid = 0;
    const double rate = rateOf(paths.size(), [&] {
        for (const std::string& path : paths)
            if (!media.characterize(path, 2, nullptr).record.valid) ++invalid;
    });
    std::printf("files %.1f\n", rate);
    return invalid == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "names") return measureNames();
    if (what == "files" && argc > 2) return measureFiles(std::vector<std::string>(argv + 2, argv + argc));
    std::fputs("usage: bench_media names | bench_media files FILE...\n", stderr);
    return 2;
}
