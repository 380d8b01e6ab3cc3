#include "TreeFixture.h"

#include <cerrno>

namespace vt::test {
namespace {

class TreeSizesTest : public TreeFixture {};

TEST_F(TreeSizesTest, PathSizesRoundUpTo512) {
    computer({file("0", ""), file("1", "x"), file("512", std::string(512, 'x')), file("513", std::string(513, 'x')),
              link("l", "513")});
    const std::vector<std::pair<std::string, std::uint64_t>> rows{{"0", 0},      {"1", 512}, {"512", 512},
                                                                  {"513", 1024}, {"l", 0},   {"gone", 0}};
    for (const auto& [name, size] : rows) EXPECT_EQ(tree().fastPathSize(h(name)), size) << name;
    EXPECT_EQ(tree().fastPathSize(home), 2048U);
    EXPECT_EQ(roundedUpTo512(~0ULL), ~511ULL);
}

TEST_F(TreeSizesTest, FolderSizeCountsTheTreeWithoutLinksAndUnreadableFolders) {
    computer({file("F/a", "1"), file("F/sub/b", "2"), link("F/l", "/home"), file("F/no/c", "3")});
    disk.faults().fail("list", h("F/no"), EACCES);
    EXPECT_EQ(tree().fastFolderSizeAtPath(h("F")), 1024U);
}

TEST_F(TreeSizesTest, EmptyMeansNothingButFolders) {
    computer({folder("E/deep/er"), file("P/x.app/in", "1"), file("F/sub/a", "1"), link("L/l", "x")});
    EXPECT_TRUE(tree().isFolderEmptyAtPath(h("E")));
    EXPECT_TRUE(tree().isFolderEmptyAtPath(h("P"))); // a package counts as a folder
    EXPECT_FALSE(tree().isFolderEmptyAtPath(h("F")));
    EXPECT_FALSE(tree().isFolderEmptyAtPath(h("L")));
    EXPECT_FALSE(tree().isFolderEmptyAtPath(h("gone"))); // an error makes it false
}

TEST_F(TreeSizesTest, FilterIsAskedWithTheLastComponent) {
    filter.refused = {"x"};
    EXPECT_FALSE(tree().shouldCopyItem("/a/b/x", false));
    EXPECT_TRUE(tree().shouldCopyItem("/a/b/y", false));
    EXPECT_FALSE(tree().shouldCopyItem("/a/limited", true));
}

} // namespace
} // namespace vt::test
