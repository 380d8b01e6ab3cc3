#include "ExpectedLists.h"
#include "ValidatorNames.h"
#include "mediafilter/MediaClasses.h"
#include "mediafilter/MediaTables.h"
#include "mediafilter/VTContainerValidator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace vt {
namespace {

std::string describe(const VTContainerValidator& validator) {
    std::string line = validator.patternText() + " " + std::to_string(validator.containerType());
    line += validator.defaultResult() ? " yes" : " no";
    for (std::size_t i = 0; i < validator.codecValidatorCount(); ++i)
        line += " " + validatorName(*validator.codecValidator(i));
    for (std::size_t i = 0; i < validator.specialContentValidatorCount(); ++i)
        line += " " + validatorName(*validator.specialContentValidator(i));
    return line + "\n";
}

std::string describe(const ContainerValidatorList& list) {
    std::string text = "\n";
    for (const VTContainerValidator* validator : list) text += describe(*validator);
    return text;
}

struct ClassRow {
    const char* name;
    VTMediaClass mediaClass;
    const char* movies;
    const char* music;
    const char* pictures;
    const char* documents;
};

const ClassRow classes[] = {
    {"unlimited", VTMediaClass::unlimited, expected::videoUnlim, expected::audioUnlim, expected::picturesUnlim,
     expected::documentsUnlim},
    {"appleLow", VTMediaClass::appleLow, expected::videoAppleLow, expected::audioApple, expected::picturesApple,
     expected::documentsApple},
    {"appleHigh", VTMediaClass::appleHigh, expected::videoAppleHigh, expected::audioApple, expected::picturesApple,
     expected::documentsApple},
    {"appleUnlimited", VTMediaClass::appleUnlimited, expected::videoAppleUnlim, expected::audioAppleUnlim,
     expected::picturesApple, expected::documentsApple},
    {"androidIcs", VTMediaClass::androidIcs, expected::videoAndroid, expected::audioAndroid, expected::picturesAndroid,
     expected::documentsAndroid},
    {"kindleFire", VTMediaClass::kindleFire, expected::videoKindle, expected::audioKindle, expected::picturesKindle,
     expected::documentsKindle},
    {"kindleFireHd", VTMediaClass::kindleFireHd, expected::videoKindleHd, expected::audioKindleHd,
     expected::picturesKindle, expected::documentsKindle},
    {"windowsRt", VTMediaClass::windowsRt, expected::videoWinrt, expected::audioWinrt, expected::picturesWinrt,
     expected::documentsAndroid},
};

TEST(MediaTables, aWaveValidatorIsBuiltAndInNoList) {
    EXPECT_EQ(describe(mediatables::windowsRtWave()), ".*\\.wav$ 4 no VTAudioWindowsRTCodecValidator\n");
    for (std::int32_t value = 0; value < 8; ++value)
        for (const MediaKind kind : mediaKinds)
            for (const VTContainerValidator* validator : mediaList(static_cast<VTMediaClass>(value), kind))
                EXPECT_NE(validator, &mediatables::windowsRtWave());
}

class MediaLists : public testing::TestWithParam<ClassRow> {};

TEST_P(MediaLists, holdExactlyTheirRows) {
    const ClassRow& row = GetParam();
    EXPECT_EQ(describe(mediaList(row.mediaClass, MediaKind::movies)), row.movies);
    EXPECT_EQ(describe(mediaList(row.mediaClass, MediaKind::music)), row.music);
    EXPECT_EQ(describe(mediaList(row.mediaClass, MediaKind::pictures)), row.pictures);
    EXPECT_EQ(describe(mediaList(row.mediaClass, MediaKind::documents)), row.documents);
}

TEST_P(MediaLists, compileAllTheirPatterns) {
    for (const MediaKind kind : {MediaKind::movies, MediaKind::music, MediaKind::pictures, MediaKind::documents})
        for (const VTContainerValidator* validator : mediaList(GetParam().mediaClass, kind))
            EXPECT_EQ(validator->regcompResult(), 0) << validator->patternText();
}

INSTANTIATE_TEST_SUITE_P(, MediaLists, testing::ValuesIn(classes), [](const auto& row) { return row.param.name; });

bool holds(const ContainerValidatorList& list, const VTContainerValidator* validator) {
    return std::find(list.begin(), list.end(), validator) != list.end();
}

TEST(MediaListsShared, holdTheSameKindleFireValidators) {
    const auto& kindle = mediaList(VTMediaClass::kindleFire, MediaKind::movies);
    const auto& android = mediaList(VTMediaClass::androidIcs, MediaKind::movies);
    const auto& kindleHd = mediaList(VTMediaClass::kindleFireHd, MediaKind::movies);
    EXPECT_TRUE(holds(android, kindle[1])); // mp4
    EXPECT_TRUE(holds(android, kindle[2])); // 3gp
    EXPECT_TRUE(holds(kindleHd, kindle[2]));
    EXPECT_FALSE(holds(kindleHd, kindle[1]));

    const auto& music = mediaList(VTMediaClass::kindleFire, MediaKind::music);
    for (const VTMediaClass other : {VTMediaClass::androidIcs, VTMediaClass::kindleFireHd}) {
        EXPECT_TRUE(holds(mediaList(other, MediaKind::music), music[6])); // m4a
        EXPECT_TRUE(holds(mediaList(other, MediaKind::music), music[7])); // 3gp
    }
    EXPECT_TRUE(holds(mediaList(VTMediaClass::unlimited, MediaKind::music), music[7]));
}

TEST(MediaListsShared, holdOneObjectPerListWhereverItIsAskedFor) {
    EXPECT_EQ(&mediaList(VTMediaClass::appleLow, MediaKind::music),
              &mediaList(VTMediaClass::appleHigh, MediaKind::music));
    EXPECT_EQ(mediaList(VTMediaClass::unlimited, MediaKind::pictures).back(),
              mediaList(VTMediaClass::appleLow, MediaKind::pictures).back());
}

TEST(CodecValidatorNames, are27AndOneSpecial) {
    std::set<std::string> names;
    for (const auto& [type, name] : validatorNames()) names.insert(name);
    EXPECT_EQ(names.size(), 28U);
}

struct FilterRow {
    std::int32_t filter;
    VTMediaClass mediaClass;
};

TEST(DeviceFilter, leadsToItsClass) {
    const FilterRow rows[] = {
        {0, VTMediaClass::unlimited},  {1, VTMediaClass::appleHigh},    {2, VTMediaClass::appleUnlimited},
        {3, VTMediaClass::appleHigh},  {4, VTMediaClass::appleLow},     {5, VTMediaClass::androidIcs},
        {6, VTMediaClass::kindleFire}, {7, VTMediaClass::kindleFireHd}, {8, VTMediaClass::windowsRt},
        {9, VTMediaClass::unlimited},  {-1, VTMediaClass::unlimited},   {2147483647, VTMediaClass::unlimited},
    };
    for (const FilterRow& row : rows) EXPECT_EQ(mediaClassForDeviceFilter(row.filter), row.mediaClass) << row.filter;
}

} // namespace
} // namespace vt
