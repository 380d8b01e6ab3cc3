#include "mediafilter/CharacterizationCache.h"

#include "StubContents.h"
#include "mediafilter/CharacterizationFile.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace vt {
namespace {

const std::string path = "/state/vantaro/characterizations";

CharacterizationKey key(std::uint64_t inode) {
    return {7, inode, 1000, -5, 1'369'144'987'000'000'001};
}

MediaFileCharacterization film() {
    MediaFileCharacterization record;
    record.containerType = 2;
    record.valid = true;
    record.hasVideo = true;
    record.hasAudio = true;
    record.duration = 12.5F;
    record.videoCodec = 1;
    record.width = 1280;
    record.height = 720;
    record.frameRate = 29.97F;
    record.audioTrackCount = 2;
    record.audioTracks[0] = {14, 48'000.0F, 6};
    record.audioTracks[1] = {1, 44'100.0F, 2};
    return record;
}

TEST(CharacterizationCache, remembersAcrossRuns) {
    StubContents contents;
    {
        CharacterizationCache cache(contents, path);
        EXPECT_FALSE(cache.find(key(1)));
        cache.store(key(1), film());
        cache.store(key(2), {});
        EXPECT_EQ(cache.find(key(1)), film());
        cache.save();
    }
    CharacterizationCache again(contents, path);
    EXPECT_EQ(again.size(), 2U);
    EXPECT_EQ(again.find(key(1)), film());
    EXPECT_EQ(again.find(key(2)), MediaFileCharacterization{});
    EXPECT_FALSE(again.find(key(3)));
}

TEST(CharacterizationCache, everyPartOfTheKeyCounts) {
    StubContents contents;
    CharacterizationCache cache(contents, path);
    cache.store(key(1), film());
    auto other = key(1);
    other.device = 8;
    EXPECT_FALSE(cache.find(other));
    other = key(1);
    other.size = 1001;
    EXPECT_FALSE(cache.find(other));
    other = key(1);
    other.modified += 1;
    EXPECT_FALSE(cache.find(other));
    other = key(1);
    other.statusChanged += 1;
    EXPECT_FALSE(cache.find(other));
    EXPECT_TRUE(cache.find(key(1)));
}

TEST(CharacterizationCache, writesOnlyWhatIsNewAndTriesAgainAfterAFailure) {
    StubContents contents;
    CharacterizationCache cache(contents, path);
    cache.save();
    EXPECT_EQ(contents.writes, 0);
    cache.store(key(1), film());
    contents.writeError = ENOSPC;
    cache.save();
    EXPECT_EQ(contents.writes, 0);
    contents.writeError = 0;
    cache.save();
    cache.save();
    EXPECT_EQ(contents.writes, 1);
}

TEST(CharacterizationCache, savesItselfAfterAThousandRecords) {
    StubContents contents;
    CharacterizationCache cache(contents, path);
    for (std::uint64_t i = 0; i < 2'500; ++i) cache.store(key(i), film());
    EXPECT_EQ(contents.writes, 2);
}

TEST(CharacterizationCache, isBoundedAndDropsTheLeastRecentlyUsed) {
    StubContents contents;
    CharacterizationCache cache(contents, path);
    for (std::uint64_t i = 0; i < CharacterizationCache::capacity; ++i) cache.store(key(i), film());
    EXPECT_TRUE(cache.find(key(0)));
    cache.store(key(1'000'000), film());
    EXPECT_EQ(cache.size(), CharacterizationCache::capacity);
    EXPECT_TRUE(cache.find(key(0)));
    EXPECT_FALSE(cache.find(key(1)));
    EXPECT_TRUE(cache.find(key(1'000'000)));
    cache.save();
    EXPECT_EQ(CharacterizationCache(contents, path).size(), CharacterizationCache::capacity);
}

TEST(CharacterizationCache, aDamagedFileCountsAsEmpty) {
    StubContents contents;
    CharacterizationCache cache(contents, path);
    for (std::uint64_t i = 0; i < 20; ++i) cache.store(key(i), film());
    cache.save();
    const std::string whole = contents.files[path];

    std::mt19937 random(5);
    for (int i = 0; i < 2'000; ++i) {
        std::string damaged = whole;
        if (i % 2 == 0)
            damaged.resize(random() % damaged.size());
        else
            damaged[random() % damaged.size()] ^= static_cast<char>(1U << (random() % 8));
        contents.files[path] = damaged;
        testing::internal::CaptureStderr();
        EXPECT_EQ(CharacterizationCache(contents, path).size(), 0U);
        EXPECT_NE(testing::internal::GetCapturedStderr().find("starts empty"), std::string::npos);
    }
    contents.files.erase(path);
    EXPECT_EQ(CharacterizationCache(contents, path).size(), 0U);
}

std::string withChecksum(std::string bytes) {
    std::uint64_t sum = 0xCBF29CE484222325ULL;
    for (const char byte : bytes) sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3ULL;
    for (int i = 0; i < 8; ++i, sum >>= 8U) bytes += static_cast<char>(sum & 0xFFU);
    return bytes;
}

TEST(CharacterizationFile, refusesWellSummedNonsense) {
    const std::string version("\2\0\0\0", 4);
    EXPECT_TRUE(characterizationfile::decode(withChecksum("VTMC" + version + std::string(4, '\0'))));
    EXPECT_FALSE(characterizationfile::decode(withChecksum("VTMC" + version + std::string(4, '\xFF'))));
    EXPECT_FALSE(characterizationfile::decode(withChecksum("VTMC" + version + std::string("\1\0\0\0", 4))));
    EXPECT_FALSE(characterizationfile::decode(withChecksum("VTMC" + version + std::string(5, '\0'))));
    EXPECT_FALSE(characterizationfile::decode(withChecksum("VTMC" + std::string("\1\0\0\0\0\0\0\0", 8))));
    EXPECT_FALSE(characterizationfile::decode(withChecksum("VTMC")));
    EXPECT_FALSE(characterizationfile::decode(""));
    std::string tooManyTracks = characterizationfile::encode({{key(1), MediaFileCharacterization{}}});
    tooManyTracks.resize(tooManyTracks.size() - 8);
    tooManyTracks.back() = 17; // the count of sound tracks stands last
    tooManyTracks.resize(tooManyTracks.size() + std::size_t{17} * 16);
    EXPECT_FALSE(characterizationfile::decode(withChecksum(tooManyTracks)));
}

} // namespace
} // namespace vt
