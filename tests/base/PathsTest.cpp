#include "base/Paths.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

using Components = std::vector<std::string>;

TEST(Paths, JoinsWithOneSlash) {
    EXPECT_EQ(paths::join("/a", "b"), "/a/b");
    EXPECT_EQ(paths::join("/a/", "b"), "/a/b");
    EXPECT_EQ(paths::join("/a//", "/b"), "/a/b");
    EXPECT_EQ(paths::join("/", "b"), "/b");
    EXPECT_EQ(paths::join("", "b"), "b");
    EXPECT_EQ(paths::join("/a", ""), "/a");
}

TEST(Paths, SplitsOffTheLastComponent) {
    EXPECT_EQ(paths::lastComponent("/a/b/"), "b");
    EXPECT_EQ(paths::lastComponent("/"), "/");
    EXPECT_EQ(paths::lastComponent("//"), "/");
    EXPECT_EQ(paths::lastComponent(""), "");
    EXPECT_EQ(paths::lastComponent("a"), "a");
    EXPECT_EQ(paths::parent("/a/b"), "/a");
    EXPECT_EQ(paths::parent("/a//b/"), "/a");
    EXPECT_EQ(paths::parent("/a"), "/");
    EXPECT_EQ(paths::parent("/"), "/");
    EXPECT_EQ(paths::parent("a"), "");
}

TEST(Paths, SplitsIntoComponentsAndBack) {
    EXPECT_EQ(paths::components("/a/b"), (Components{"/", "a", "b"}));
    EXPECT_EQ(paths::components("~//x/"), (Components{"~", "x"}));
    EXPECT_EQ(paths::components(""), Components{});
    EXPECT_EQ(paths::joinComponents({"/", "a", "b"}), "/a/b");
    EXPECT_EQ(paths::joinComponents({"~", "x"}), "~/x");
    EXPECT_EQ(paths::joinComponents({"/"}), "/");
}

TEST(Paths, FindsTheExtension) {
    EXPECT_EQ(paths::extension("/a.b/c.tar.gz"), "gz");
    EXPECT_EQ(paths::extension("/a.b/c"), "");
    EXPECT_EQ(paths::extension(".profile"), "");
    EXPECT_EQ(paths::extension("c."), "");
    EXPECT_EQ(paths::extension("/x/Library.photolibrary/"), "photolibrary");
}

TEST(Paths, JudgesAncestryAtComponentBoundaries) {
    EXPECT_TRUE(paths::isAtOrBelow("/a/b", "/a"));
    EXPECT_TRUE(paths::isAtOrBelow("/a", "/a/"));
    EXPECT_FALSE(paths::isAtOrBelow("/ab", "/a"));
    EXPECT_TRUE(paths::isAtOrBelow("/ab", "/"));
    EXPECT_FALSE(paths::isAtOrBelow("/a", ""));
}

TEST(Paths, CleansLexically) {
    EXPECT_EQ(paths::clean("/a//b/./c/../d/"), "/a/b/d");
    EXPECT_EQ(paths::clean("/../../a"), "/a");
    EXPECT_EQ(paths::clean("/.."), "/");
    EXPECT_EQ(paths::clean("/"), "/");
    EXPECT_EQ(paths::clean("../a"), "../a");
    EXPECT_EQ(paths::clean(""), "");
}

TEST(Paths, KnowsWellFormedText) {
    EXPECT_TRUE(paths::isValidUtf8("Musik \xc3\xa4 \xe3\x81\x82 \xf0\x9f\x8e\xb5"));
    for (const char* bytes : {"\xff", "\xc3", "\xc0\x80", "\xe0\x80\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\x80z"})
        EXPECT_FALSE(paths::isValidUtf8(bytes));
    EXPECT_EQ(paths::displayText("a\xff"
                                 "b\xc3\xa4"),
              "a\xef\xbf\xbd"
              "b\xc3\xa4");
}

TEST(HomePaths, ReplacesTheHomeFolderOnlyAtABoundary) {
    const HomePaths home("/home/ada/");
    EXPECT_EQ(home.home(), "/home/ada");
    EXPECT_EQ(home.abbreviate("/home/ada"), "~");
    EXPECT_EQ(home.abbreviate("/home/ada/Music"), "~/Music");
    EXPECT_EQ(home.abbreviate("/home/adabel/Music"), "/home/adabel/Music");
    EXPECT_EQ(home.expandTilde("~"), "/home/ada");
    EXPECT_EQ(home.expandTilde("~/x"), "/home/ada/x");
    EXPECT_EQ(home.expandTilde("~bob/x"), "~bob/x");
    EXPECT_EQ(home.standardise("~/a/../b//c/"), "/home/ada/b/c");
}

TEST(HomePaths, LeavesPathsAloneWhenHomeIsTheRoot) {
    const HomePaths home("/");
    EXPECT_EQ(home.abbreviate("/etc"), "/etc");
    EXPECT_EQ(home.expandTilde("~/x"), "/x");
}

} // namespace
} // namespace vt
