// fuzz_seeds FOLDER: fills a folder with the media files of the tests, the small ones, as a start for the fuzzer.
#include "mediafilter/CorpusFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

constexpr std::uintmax_t largestSeed = 192U << 10U;
std::filesystem::path folder; // of main()'s argument

TEST(MediaSeeds, areMade) {
    std::filesystem::create_directories(folder);
    vt::CorpusFiles corpus;
    for (const std::string& name : vt::CorpusFiles::names()) {
        const std::string made = corpus.path(name);
        if (std::filesystem::file_size(made) <= largestSeed)
            std::filesystem::copy_file(made, folder / name, std::filesystem::copy_options::overwrite_existing);
    }
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) return 2;
    folder = argv[1];
    return RUN_ALL_TESTS();
}
