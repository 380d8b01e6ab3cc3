// How long it takes to watch a tree, what a watch costs in this process, and how soon a change is told.
// Usage: bench_watch FOLDER. Prints one figure a line: times in seconds, memory in bytes for each folder.
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/watch/LinuxFileEvents.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

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

std::size_t residentBytes() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void figure(const char* name, double value) {
    std::printf("%s %.6f\n", name, value);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path root = argv[1];
    std::size_t folders = 1;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) folders += entry.is_directory();

    vt::FakeClock clock;
    vt::FakeRunLoop loop(clock);
    int changes = 0;
    bool complete = false;
    const std::size_t allocated = bytesInUse();
    const std::size_t resident = residentBytes();
    const double processor = processorSeconds();
    const auto start = Clock::now();
    vt::LinuxFileEvents events(loop, {});
    vt::FileEventSettings settings;
    settings.complete = [&] { complete = true; };
    const auto stream = events.stream(root, settings, [&] { ++changes; });
    figure("setUpMainThread", secondsSince(start));
    if (!loop.runUntil([&] { return complete; }, std::chrono::minutes(5))) return 1;
    figure("setUp", secondsSince(start));
    figure("setUpProcessor", processorSeconds() - processor);
    const auto each = [folders](std::size_t before, std::size_t after) {
        return (static_cast<double>(after) - static_cast<double>(before)) / static_cast<double>(folders);
    };
    figure("allocatedBytes", each(allocated, bytesInUse()));
    figure("residentBytes", each(resident, residentBytes()));

    const std::filesystem::path file = root / "bench_watch was here";
    const auto changed = Clock::now();
    std::ofstream(file) << "x";
    const bool told = loop.runUntil([&] { return changes > 0; });
    figure("toldAfter", secondsSince(changed)); // 0.5 s of it are the stream's latency
    std::filesystem::remove(file);
    return told ? 0 : 1;
}
