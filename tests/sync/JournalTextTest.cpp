#include "sync/journal/JournalText.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vt::test {
namespace {

using Lines = std::vector<std::string>;

TEST(JournalText, hostileOrTornTextIsPassedOver) {
    const auto group = journaltext::parse("nonsense\nfile x y\nfile 5\nboot b\nstart 12x\nitem /a%2\nfile 7 /ok%41\n"
                                          "over 6 /okA\nover 9 /other\nfile 8 /torn");
    EXPECT_EQ(group.bootId, "b");
    EXPECT_EQ(group.start, Date::missing());
    EXPECT_EQ(group.items, (Lines{"/a%2"}));
    EXPECT_EQ(group.files, (std::map<std::string, Date>{{"/okA", Date::fromNanoseconds(7)}}));
    EXPECT_EQ(group.replaced.at("/okA"), Date::fromNanoseconds(6));
}

} // namespace
} // namespace vt::test
