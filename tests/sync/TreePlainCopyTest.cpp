#include "TreeFixture.h"

#include <cerrno>

namespace vt::test {
namespace {

class TreePlainCopyTest : public TreeFixture {};

TEST_F(TreePlainCopyTest, RefusedSourceIsTrueAndNothingIsMade) {
    computer({file("a", "1")});
    filter.refused = {"a"};
    EXPECT_TRUE(tree().copyPathToPath(h("a"), d("x/a"), true, true, reporter.get()));
    EXPECT_EQ(drivePaths(), (Lines{"x/"}));
}

TEST_F(TreePlainCopyTest, ResultIsTrueWhateverTheCopyDid) {
    computer({file("a", "1")});
    EXPECT_TRUE(tree().copyPathToPath(h("a"), d("a"), false, true, reporter.get()));
    EXPECT_EQ(contentOf(d("a")), "1");
    disk.faults().fail("copyFile", "", EIO);
    EXPECT_TRUE(tree().copyPathToPath(h("a"), d("b"), false, true, reporter.get()));
    EXPECT_EQ(controller->alerts.size(), 1U);
    EXPECT_TRUE(tree().copyPathToPath(h("gone"), d("c"), false, true, reporter.get()));
}

TEST_F(TreePlainCopyTest, LinksAreNeverMadeAgain) {
    computer({link("l", "a")});
    onDrive({link("l", "b")});
    EXPECT_TRUE(tree().copyPathToPath(h("l"), d("l"), false, true, reporter.get()));
    EXPECT_EQ(*files.readLink(d("l")), "b");
    EXPECT_TRUE(tree().copyPathToPath(h("l"), d("new"), false, true, reporter.get()));
    EXPECT_FALSE(files.attributes(d("new")).ok());
}

TEST_F(TreePlainCopyTest, LimitHoldsOnAnExistingFatDestination) {
    volumes.types[drive] = "msdos";
    computer({file("limited", "x")});
    onDrive({file("old", "y")});
    EXPECT_TRUE(tree().copyPathToPath(h("limited"), d("old"), false, true, reporter.get()));
    EXPECT_EQ(asked("copyFile"), 0);
    EXPECT_TRUE(tree().copyPathToPath(h("limited"), d("new"), false, true, reporter.get()));
    EXPECT_EQ(contentOf(d("new")), "x");
}

} // namespace
} // namespace vt::test
