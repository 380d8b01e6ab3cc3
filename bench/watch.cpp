// How long it takes to watch a tree, what a watch costs in this process, and what idle watching costs.
// Usage: bench_watch [folders]. Makes the tree in the temporary folder and takes it away again.
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/watch/LinuxFileEvents.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::size_t bytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void makeTree(const std::filesystem::path& root, int folders) {
    for (int number = 0; number < folders; ++number)
        std::filesystem::create_directories(root / ("group " + std::to_string(number / 100)) /
                                            ("folder " + std::to_string(number)));
}

} // namespace

int main(int argc, char** argv) {
    const int folders = argc > 1 ? std::atoi(argv[1]) : 100'000;
    std::string name = std::filesystem::temp_directory_path() / "vantaro-bench-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) return 1;
    const std::filesystem::path root = name;
    makeTree(root, folders);

    vt::FakeClock clock;
    vt::FakeRunLoop loop(clock);
    int changes = 0;
    bool complete = false;
    const std::size_t before = bytesInUse();
    const double processorBefore = processorSeconds();
    const auto start = Clock::now();
    vt::LinuxFileEvents events(loop, {});
    vt::FileEventSettings settings;
    settings.complete = [&] { complete = true; };
    const auto stream = events.stream(root, settings, [&] { ++changes; });
    const double onMainThread = secondsSince(start);
    if (!loop.runUntil([&] { return complete; }, std::chrono::minutes(5))) return 1;
    std::printf("set-up of %d folders      %8.3f s, processor %.3f s, main thread %.6f s\n", folders,
                secondsSince(start), processorSeconds() - processorBefore, onMainThread);
    std::printf("memory for each folder    %8.1f bytes\n", static_cast<double>(bytesInUse() - before) / folders);

    const double idleBefore = processorSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    std::printf("processor while idle      %8.3f ms a second\n", (processorSeconds() - idleBefore) * 1000 / 2);

    const auto changed = Clock::now();
    std::ofstream(root / "group 0" / "folder 7" / "file") << "x";
    if (!loop.runUntil([&] { return changes > 0; })) return 1;
    std::printf("a change is told after    %8.3f s (latency 0.5 s)\n", secondsSince(changed));
    std::filesystem::remove_all(root);
    return 0;
}
