// The option to remember what was copied: replacements with an older or an equal date are noticed.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

// A name of any bytes.
constexpr const char* song = "/home/ada/Music/%@ \xFF.mp3";
constexpr const char* copied = "/media/stick/ada_Workbench/Music/%@ \xFF.mp3";

struct RememberWorld : SyncWorld {
    explicit RememberWorld(bool remember) {
        preferences.set("com.corvane.vantaro", PreferenceHost::any, "remember-content", Value(remember));
        makeFolders("/home/ada/Music");
        write(song, "newer", at(-10));
        sync();
        EXPECT_EQ(read(copied), "newer");
        clock.advance(std::chrono::minutes(5));
    }
};

TEST(RememberContent, aReplacementWithAnOlderOrEqualDateIsCopiedWhereThePersonWantsIt) {
    struct Row {
        const char* name;
        bool remember;
        const char* content;
        int minutes;
        const char* expected;
    };
    for (const Row& row :
         {Row{"older, on", true, "backup", -60, "backup"}, Row{"older, off", false, "backup", -60, "newer"},
          Row{"equal date, on", true, "longer text", -10, "longer text"},
          Row{"equal date, off", false, "longer text", -10, "newer"},
          Row{"unchanged, on", true, "newer", -10, "newer"}}) {
        SCOPED_TRACE(row.name);
        RememberWorld world(row.remember);
        world.write(song, row.content, at(row.minutes));
        world.sync();
        EXPECT_TRUE(world.succeeded());
        EXPECT_EQ(world.read(copied), row.expected);
        EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
        world.disk.faults().clearLog();
        world.sync(); // and not once more
        const auto& calls = world.disk.faults().log();
        EXPECT_TRUE(std::ranges::none_of(calls, [](const auto& call) { return call.starts_with("copyData"); }));
    }
}

TEST(RememberContent, aCopyThatChangedOnTheDriveIsSetAside) {
    RememberWorld world(true);
    world.write(copied, "theirs", at(-5)); // before the last sync, so the dates call it present
    world.write(song, "backup", at(-60));
    world.sync();
    EXPECT_EQ(world.read(copied), "backup");
    EXPECT_TRUE(world.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(RememberContent, whatLeavesTheComputerIsForgotten) {
    RememberWorld world(true);
    ASSERT_TRUE(world.files.remove(song, {}).ok());
    world.sync();
    world.write(song, "backup", at(-60));
    world.sync();
    EXPECT_EQ(world.read(copied), "newer");
}

} // namespace
} // namespace vt::test
