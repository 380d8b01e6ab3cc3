#include "mediafilter/VTContainerValidator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vt {
namespace {

class SaysCodec final : public VTCodecValidator {
  public:
    SaysCodec(bool decides, bool answer) : _decides(decides), _answer(answer) {}
    [[nodiscard]] bool matchCharacterization(const MediaFileCharacterization& record, bool& shouldCopy) const override {
        ++asked;
        seenType = record.containerType;
        if (_decides) shouldCopy = _answer;
        return _decides;
    }
    mutable int asked = 0;
    mutable std::int32_t seenType = -1;

  private:
    bool _decides;
    bool _answer;
};

class SaysSpecial final : public VTSpecialContentValidator {
  public:
    SaysSpecial(bool matched, bool answer) : _matched(matched), _answer(answer) {}
    [[nodiscard]] bool matchSpecialContent(std::string_view, bool& shouldCopy, MediaFacts&) const override {
        shouldCopy = _answer;
        return _matched;
    }

  private:
    bool _matched;
    bool _answer;
};

struct Answer {
    bool matched;
    bool shouldCopy;
    bool operator==(const Answer&) const = default;
};

Answer ask(const VTContainerValidator& validator, std::string_view name) {
    NoMediaFacts facts;
    bool shouldCopy = true;
    const bool matched = validator.matchItem("/home/ada/" + std::string(name), name, shouldCopy, facts);
    return {matched, shouldCopy};
}

const SaysCodec declines(false, true);
const SaysCodec accepts(true, true);
const SaysCodec refuses(true, false);

TEST(VTContainerValidator, plainInitMatchesNothing) {
    const VTContainerValidator validator;
    EXPECT_EQ(validator.regcompResult(), -1);
    EXPECT_EQ(validator.codecValidatorCount(), 0U);
    EXPECT_EQ(validator.specialContentValidatorCount(), 0U);
    EXPECT_FALSE(validator.defaultResult());
    EXPECT_EQ(ask(validator, "a.mp4"), (Answer{false, false}));
}

TEST(VTContainerValidator, answersItsDefaultWithoutCodecValidators) {
    EXPECT_EQ(ask(VTContainerValidator::suffixMatch(R"(.*\.mp4$)", true), "a.MP4"), (Answer{true, true}));
    EXPECT_EQ(ask(VTContainerValidator::suffixMatch(R"(.*\.mp4$)", false), "a.MP4"), (Answer{true, false}));
    EXPECT_EQ(ask(VTContainerValidator::suffixMatch(R"(.*\.mp4$)", true), "a.mov"), (Answer{false, false}));
    EXPECT_EQ(VTContainerValidator::suffixMatch("x", true).containerType(), 0);
    EXPECT_EQ(VTContainerValidator::suffixMatch("x", 13, true).containerType(), 13);
}

TEST(VTContainerValidator, firstCodecValidatorThatDecidesGivesTheAnswer) {
    VTContainerValidator validator(R"(.*\.mp4$)", 2, true, true);
    validator.addValidator(&declines);
    validator.addValidator(&refuses);
    validator.addValidator(&accepts);
    EXPECT_EQ(ask(validator, "a.mp4"), (Answer{true, false}));
    EXPECT_EQ(refuses.seenType, 2);
}

TEST(VTContainerValidator, allDecliningIsNoMatchAndLeavesTheDefault) {
    VTContainerValidator yes(R"(.*\.mp4$)", 2, true, true);
    yes.addValidator(&declines);
    EXPECT_EQ(ask(yes, "a.mp4"), (Answer{false, true}));
    VTContainerValidator no(R"(.*\.mp4$)", 2, true, false);
    no.addValidator(&declines);
    EXPECT_EQ(ask(no, "a.mp4"), (Answer{false, false}));
}

TEST(VTContainerValidator, anAcceptingSpecialValidatorComesBeforeCodecs) {
    const SaysSpecial takes(true, true);
    const SaysSpecial leaves(true, false);
    VTContainerValidator validator(".*", 0, true, false);
    validator.addSpecialValidator(&leaves);
    validator.addSpecialValidator(&takes);
    const SaysCodec codec(true, false);
    validator.addValidator(&codec);
    EXPECT_EQ(ask(validator, "a"), (Answer{true, true}));
    EXPECT_EQ(codec.asked, 0);
}

TEST(VTContainerValidator, aRefusingSpecialValidatorLeavesTheDecisionToTheRest) {
    const SaysSpecial leaves(true, false);
    VTContainerValidator validator(".*", 0, true, true);
    validator.addSpecialValidator(&leaves);
    EXPECT_EQ(ask(validator, "a"), (Answer{true, true})); // the default: no codec validator is attached
    validator.addValidator(&refuses);
    EXPECT_EQ(ask(validator, "a"), (Answer{true, false}));
}

TEST(VTContainerValidator, holdsSixteenCodecAndFiveSpecialValidators) {
    VTContainerValidator validator(".*", 0, true, false);
    for (std::size_t i = 1; i <= 16; ++i) EXPECT_EQ(validator.addValidator(&declines), i);
    EXPECT_EQ(validator.addValidator(&accepts), 16U);
    EXPECT_EQ(ask(validator, "a"), (Answer{false, false})); // the seventeenth is not asked
    EXPECT_EQ(validator.codecValidator(16), nullptr);

    const SaysSpecial leaves(true, false);
    const SaysSpecial takes(true, true);
    for (std::size_t i = 1; i <= 5; ++i) EXPECT_EQ(validator.addSpecialValidator(&leaves), i);
    EXPECT_EQ(validator.addSpecialValidator(&takes), 5U);
    EXPECT_EQ(ask(validator, "a"), (Answer{false, false}));
    EXPECT_EQ(validator.specialContentValidator(5), nullptr);
}

TEST(VTContainerValidator, aPatternThatDoesNotCompileMatchesNothing) {
    const VTContainerValidator validator("[", 0, true, true);
    EXPECT_NE(validator.regcompResult(), 0);
    EXPECT_EQ(ask(validator, "["), (Answer{false, false}));
}

struct Library final : MediaFacts {
    explicit Library(std::optional<std::string> value) : library(std::move(value)) {}
    [[nodiscard]] MediaFileCharacterization characterization(const std::string&, std::int32_t) override { return {}; }
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return library; }
    std::optional<std::string> library;
};

struct PhotoBoothRow {
    const char* title;
    std::optional<std::string> library;
    const char* path;
    bool accepted;
};

TEST(VTPhotoBoothSpecialContentValidator, acceptsWhatBeginsWithTheLibrarysPath) {
    const PhotoBoothRow rows[] = {
        {"inside", "/home/ada/Pictures/Photo Booth Library", "/home/ada/Pictures/Photo Booth Library/a.jpg", true},
        {"the library itself", "/home/ada/Photo Booth", "/home/ada/Photo Booth", true},
        {"a plain prefix", "/home/ada/Photo Booth", "/home/ada/Photo Booth 2/a", true},
        {"elsewhere", "/home/ada/Photo Booth", "/home/ada/Pictures/a.jpg", false},
        {"another case", "/home/ada/Photo Booth", "/home/ada/photo booth/a", false},
        {"not set", std::nullopt, "/home/ada/Photo Booth/a", false},
        {"empty", "", "/home/ada/a", false},
    };
    const VTPhotoBoothSpecialContentValidator validator;
    for (const PhotoBoothRow& row : rows) {
        Library facts(row.library);
        bool shouldCopy = !row.accepted;
        EXPECT_TRUE(validator.matchSpecialContent(row.path, shouldCopy, facts)) << row.title;
        EXPECT_EQ(shouldCopy, row.accepted) << row.title;
    }
}

} // namespace
} // namespace vt
