// Which items a pass compares.
#include "sync/compare/ItemChoice.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace vt::test {
namespace {

std::vector<std::string> pathsOfChosen(const std::vector<ChosenItem>& items) {
    std::vector<std::string> paths;
    for (const ChosenItem& item : items) paths.push_back(item.path);
    return paths;
}

TEST(CompareChoice, prefixRemovalIsTextual) {
    const HomePaths home("/home/ada");
    EXPECT_EQ(pathsOfChosen(chooseChangedItems({"/A/BC", "/A/B", "/A/B/c"}, {"/A"}, home)),
              (std::vector<std::string>{"/A/B"}));
}

TEST(CompareChoice, aFolderOfAnotherDrivesItemLeavesOutNothingBelowIt) {
    const HomePaths home("/home/ada");
    const std::vector<std::string> changed{"/home/ada", "/home/ada/Music", "/home/ada/Music/Rock", "/home/ada2"};
    EXPECT_EQ(pathsOfChosen(chooseChangedItems(changed, {"~/Music"}, home)), (std::vector<std::string>{"~/Music"}));
    EXPECT_EQ(pathsOfChosen(chooseChangedItems(changed, {"~/Music/Rock"}, home)),
              (std::vector<std::string>{"~/Music/Rock"}));
    EXPECT_EQ(pathsOfChosen(chooseChangedItems(changed, {"~/"}, home)), (std::vector<std::string>{"~/"}));
    EXPECT_TRUE(chooseChangedItems(changed, {"/home/ada2"}, home).empty()) << "begins with the same text only";
}

TEST(CompareChoice, aChangedPathIsKeptAbbreviatedWithTheItemItBelongsTo) {
    const HomePaths home("/home/ada");
    const auto chosen = chooseChangedItems({"/home/ada/Music/Rock", "/srv/x"}, {"~/Pictures", "~/Music"}, home);
    ASSERT_EQ(chosen.size(), 1U);
    EXPECT_EQ(chosen[0].path, "~/Music/Rock");
    EXPECT_EQ(chosen[0].item, "~/Music");
}

TEST(CompareChoice, aPathBelongsToTheInnermostItemThatHoldsIt) {
    const HomePaths home("/home/ada");
    const std::vector<std::string> list{"~/Pictures", "~/Pictures2", "~/Pictures2/Raw", "~/"};
    const auto itemOf = [&](const std::string& path) { return chooseChangedItems({path}, list, home).at(0).item; };
    EXPECT_EQ(itemOf("/home/ada/Pictures2"), "~/Pictures2") << "not the one that its text begins with";
    EXPECT_EQ(itemOf("/home/ada/Pictures2/Raw/x"), "~/Pictures2/Raw");
    EXPECT_EQ(itemOf("/home/ada/Pictures3"), "~/");
    EXPECT_EQ(chooseChangedItems({"/home/ada/Pictures3"}, {"~/Pictures"}, home).at(0).item, "~/Pictures")
        << "none holds it: the text decides";
}

TEST(CompareChoice, neighboursThatOnlyBeginAlikeAreKnownToBeLeftOut) {
    EXPECT_EQ(neighboursLeftOut({"/A/BC", "/A/B", "/A/B/c", "/A/BC", "/A/B", "/A/BC/d", "/Z"}),
              (std::vector<std::string>{"/A/BC", "/A/BC/d"}));
    EXPECT_TRUE(neighboursLeftOut({"/A", "/A/B", "/B"}).empty());
    EXPECT_TRUE(neighboursLeftOut({"/", "/A"}).empty());
}

TEST(CompareChoice, anAbsoluteItemInsideTheHomeFolderMatches) {
    const HomePaths home("/home/ada");
    EXPECT_EQ(pathsOfChosen(chooseChangedItems({"/home/ada/Music"}, {"/home/ada/Music"}, home)),
              (std::vector<std::string>{"~/Music"}));
}

TEST(CompareChoice, theHomeFolderItselfIsAnItem) {
    const HomePaths home("/home/ada");
    EXPECT_EQ(pathsOfChosen(chooseChangedItems({"/home/ada"}, {"~/"}, home)), (std::vector<std::string>{"~/"}));
}

std::vector<std::pair<std::string, std::string>> told(const std::vector<ChosenItem>& items) {
    std::vector<std::pair<std::string, std::string>> told;
    for (const ChosenItem& item : items) told.emplace_back(item.path, item.item);
    return told;
}

// The same by its plain rule, which copies what it looks into and goes as deep as the paths do.
std::vector<ChosenItem> chosenByTheRule(std::vector<std::string> changed, const std::vector<std::string>& items,
                                        const HomePaths& home) {
    std::sort(changed.begin(), changed.end());
    changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
    std::vector<ChosenItem> chosen;
    while (!changed.empty()) {
        const std::string kept = changed.front();
        std::vector<std::string> below;
        std::vector<std::string> others;
        for (auto path = changed.begin() + 1; path != changed.end(); ++path) {
            if (!path->starts_with(kept))
                others.push_back(*path);
            else if (paths::isAtOrBelow(*path, kept))
                below.push_back(*path);
        }
        auto found = chooseChangedItems({kept}, items, home);
        if (found.empty()) found = chosenByTheRule(below, items, home);
        chosen.insert(chosen.end(), found.begin(), found.end());
        changed = std::move(others);
    }
    return chosen;
}

std::vector<std::string> leftOutByTheRule(const std::vector<std::string>& changed) {
    std::vector<std::string> leftOut;
    for (const std::string& path : changed)
        if (std::any_of(changed.begin(), changed.end(), [&](const std::string& other) {
                return path.starts_with(other) && !paths::isAtOrBelow(path, other);
            }))
            leftOut.push_back(path);
    std::sort(leftOut.begin(), leftOut.end());
    leftOut.erase(std::unique(leftOut.begin(), leftOut.end()), leftOut.end());
    return leftOut;
}

// Paths that begin alike as often as they lie in each other.
std::vector<std::string> somePaths(std::mt19937& random, std::size_t most) {
    const std::vector<std::string> pieces{"/a", "/b", "/ab", "b", "c", "/home/ada", "/ "};
    std::vector<std::string> made(random() % (most + 1));
    for (std::string& path : made) {
        if (random() % 3 == 0) path = "/home/ada";
        for (auto left = random() % 5; left != 0; --left) path += pieces[random() % pieces.size()];
        if (!path.starts_with('/')) path.insert(0, "/");
    }
    return made;
}

TEST(CompareChoice, oneLoopGivesTheAnswersOfTheRule) {
    const HomePaths home("/home/ada");
    std::size_t nested = 0;
    for (unsigned seed = 0; seed < 20'000; ++seed) {
        std::mt19937 random(seed);
        const std::vector<std::string> changed = somePaths(random, 9);
        std::vector<std::string> items = somePaths(random, 3);
        for (std::string& item : items)
            if (random() % 2 == 0) item = item == "/home/ada" ? "~/" : home.abbreviate(item);
        const auto chosen = chooseChangedItems(changed, items, home);
        ASSERT_EQ(told(chosen), told(chosenByTheRule(changed, items, home)))
            << testing::PrintToString(changed) << " for " << testing::PrintToString(items);
        ASSERT_EQ(neighboursLeftOut(changed), leftOutByTheRule(changed)) << testing::PrintToString(changed);
        nested += chosen.size() > 1 ? 1U : 0U;
    }
    EXPECT_GT(nested, 1'000U);
}

TEST(CompareChoice, whatBeginsLikeAPathInNoItemIsLeftOutAndFollows) {
    const HomePaths home("/home/ada");
    EXPECT_TRUE(chooseChangedItems({"/A/B", "/A/BC"}, {"/A/BC"}, home).empty());
    EXPECT_EQ(neighboursLeftOut({"/A/B", "/A/BC"}), (std::vector<std::string>{"/A/BC"}));
}

TEST(CompareChoice, thousandsOfPathsEachInsideTheOneBeforeAreNoBurden) {
    std::vector<std::string> changed;
    std::string path;
    for (int depth = 0; depth < 5'000; ++depth) changed.push_back(path += "/a");
    const HomePaths home("/home/ada");
    EXPECT_TRUE(chooseChangedItems(changed, {"/b"}, home).empty());
    EXPECT_EQ(pathsOfChosen(chooseChangedItems(changed, {path}, home)), (std::vector<std::string>{path}));
    EXPECT_TRUE(neighboursLeftOut(changed).empty());
}

TEST(CompareChoice, neighboursBelowAnotherDrivesFolderAreKnownToBeLeftOut) {
    EXPECT_EQ(neighboursLeftOut({"/Docs", "/Docs/Work", "/Docs/Workshop", "/Docs/Workshop/x", "/Docs/Z"}),
              (std::vector<std::string>{"/Docs/Workshop", "/Docs/Workshop/x"}));
}

TEST(CompareChoice, announcingOnlyWhatWasLeftOutComesToAnEnd) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::string> changed = somePaths(random, 20);
        while (!changed.empty()) {
            std::vector<std::string> next = neighboursLeftOut(changed);
            ASSERT_LT(next.size(), changed.size()) << testing::PrintToString(changed);
            changed = std::move(next);
        }
    }
}

} // namespace
} // namespace vt::test
