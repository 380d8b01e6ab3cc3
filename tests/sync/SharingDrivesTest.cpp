// Drives, users and computers side by side: two drives of one computer with settings of their own, and one drive that
// two users and two computers share, in turn and at the same time.
#include "support/SyncWorld.h"

#include <thread>

namespace vt::test {
namespace {

using Tree = std::vector<std::string>;

// A user of a computer who shares the world's drive, or has one of the same world to himself.
struct Person {
    FakeSystemIdentity system;
    WorldHost host;
    SyncServices services;
    std::shared_ptr<VTSyncController> controller;
    std::string home;
    std::string copies;

    Person(SyncWorld& world, const std::string& name, const std::string& machine, const std::string& identifier,
           bool byHand = true)
        : host(world.clock),
          services{host,        world.driveFiles, world.volumes,   world.propertyLists, world.preferences, system,
                   world.clock, world.loop,       world.workspace, world.alerts,        world.exclusions,  world.names},
          home("/homes/" + machine + "/" + name), copies("/media/stick/" + name + "_" + machine) {
        system.homePath = home;
        system.name = name;
        system.machine = machine;
        host.identifier = identifier;
        world.makeFolders(home);
        controller =
            VTSyncController::controllerForMountPoint(SyncWorld::drive, "Talmont", std::nullopt, "disk9s9", services);
        if (byHand) controller->playWorkerByHand();
        world.join(*controller, {"~/Music"});
    }
};

struct Family {
    SyncWorld world;
    std::vector<std::unique_ptr<Person>> people;

    explicit Family(bool byHand) {
        people.push_back(std::make_unique<Person>(world, "ada", "Attic", "AAAAAAAAAAAA-501", byHand));
        people.push_back(std::make_unique<Person>(world, "bob", "Attic", "AAAAAAAAAAAA-502", byHand));
        people.push_back(std::make_unique<Person>(world, "ada", "Barn", "BBBBBBBBBBBB-501", byHand));
        people.push_back(std::make_unique<Person>(world, "bob", "Barn", "BBBBBBBBBBBB-502", byHand));
    }
    void write(Person& person, const std::string& content, Date date) {
        buildTree(world.files, world.files, person.home,
                  {file("Music/" + content + ".mp3", content + " of " + person.home, date)});
    }
    // Every user, list and last sync time is in the file, whoever wrote it last.
    void expectEveryEntry() {
        const auto text = world.read("/media/stick/.VantaroConfig").value_or("");
        const auto parsed = world.propertyLists.parse(text);
        ASSERT_TRUE(parsed.ok());
        const auto& root = *parsed->asDictionary();
        EXPECT_EQ(root.at("sync-user-list").asArray()->size(), people.size() + 1); // and the world's own user
        for (const auto& person : people) {
            const std::string& id = person->host.identifier;
            ASSERT_TRUE(root.contains(id)) << id;
            EXPECT_TRUE(root.at(id).asDictionary()->contains("local-last-sync-time")) << id;
            EXPECT_TRUE(root.at("ptop-list").asDictionary()->contains(id)) << id;
        }
    }
    void expectEveryCopy(const std::vector<std::string>& contents) {
        for (const auto& person : people)
            for (const auto& content : contents)
                EXPECT_EQ(world.read(person->copies + "/Music/" + content + ".mp3"), content + " of " + person->home);
    }
};

TEST(SharingDrives, usersAndComputersInTurnKeepTheirEntriesAndCopies) {
    Family family(true);
    for (int round = 0; round < 3; ++round) {
        for (auto& person : family.people) {
            family.write(*person, "song" + std::to_string(round), at(round * 10 - 5));
            family.world.clock.setNow(at(round * 10));
            person->controller->sync();
            SyncWorld::run(*person->controller);
            EXPECT_TRUE(person->host.has("Synchronization of \"stick\" completed successfully."));
        }
    }
    family.expectEveryEntry();
    family.expectEveryCopy({"song0", "song1", "song2"});
    EXPECT_FALSE(family.world.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(SharingDrives, usersAndComputersAtOnceKeepTheirEntriesAndCopies) {
    Family family(false);
    for (auto& person : family.people) {
        for (const char* song : {"one", "two", "three"}) family.write(*person, song, at(-5));
        person->controller->sync();
        person->controller->setSyncMoviesState(false);
        person->controller->sync();
    }
    const auto idle = [&] {
        return std::ranges::none_of(family.people, [](const auto& person) { return person->controller->busy(); });
    };
    ASSERT_TRUE(family.world.loop.runUntil(idle, std::chrono::seconds(60)));
    for (auto& person : family.people) person->controller->queueDeath();
    ASSERT_TRUE(family.world.loop.runUntil([&] {
        return std::ranges::all_of(family.people, [](const auto& person) { return person->controller->workerEnded(); });
    }));
    family.expectEveryEntry();
    family.expectEveryCopy({"one", "two", "three"});
    for (auto& person : family.people) EXPECT_FALSE(person->controller->syncMoviesState());
    EXPECT_FALSE(family.world.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(SharingDrives, oneUsersSyncNeverTouchesAnothersCopies) {
    Family family(true);
    Person& first = *family.people[0];
    Person& second = *family.people[1];
    family.write(first, "mine", at(-5));
    first.controller->sync();
    SyncWorld::run(*first.controller);
    const auto before = snapshotTree(family.world.files, family.world.files, first.copies);
    family.write(second, "mine", at(5));
    family.world.clock.setNow(at(10));
    second.controller->sync();
    SyncWorld::run(*second.controller);
    EXPECT_EQ(snapshotTree(family.world.files, family.world.files, first.copies), before);
}

struct TwoDrives {
    SyncWorld world{{"~/Music"}};
    std::shared_ptr<VTSyncController> other;
    VTContainerValidator pictures = VTContainerValidator::suffixMatch(".*\\.jpg$", true);

    explicit TwoDrives(bool byHand) {
        world.mountDrive("/media/other", "disk9s1");
        other = world.controllerFor("/media/other", byHand);
        world.join(*other, {"~/Music", "~/Pictures"});
        other->updateFileValidator({&pictures});
        world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/cover.jpg", "c", at(-10)),
                        file("Pictures/p.jpg", "p", at(-10))});
    }
    [[nodiscard]] Tree treeOf(const std::string& mountPoint) {
        auto found = pathsOf(world.files, world.files, mountPoint + "/ada_Workbench");
        std::erase(found, ".Z_VT_W/");
        return found;
    }
};

TEST(SharingDrives, eachOfTwoDrivesFollowsItsOwnListAndFilter) {
    TwoDrives drives(true);
    drives.world.controller->sync();
    drives.other->sync();
    SyncWorld::run(*drives.other);
    SyncWorld::run(*drives.world.controller);
    EXPECT_EQ(drives.treeOf("/media/stick"), (Tree{"Music/", "Music/a.mp3", "Music/cover.jpg"}));
    EXPECT_EQ(drives.treeOf("/media/other"), (Tree{"Music/", "Music/cover.jpg", "Pictures/", "Pictures/p.jpg"}));
}

TEST(SharingDrives, aCancelOnOneDriveLeavesTheOtherRunning) {
    TwoDrives drives(true);
    drives.other->sync();
    drives.world.controller->sync();
    // Cancelled while the other one copies.
    drives.world.disk.faults().before("copyFile", "/home/ada/Pictures",
                                      [&](const std::string&) { drives.world.controller->cancelButtonClicked(); });
    SyncWorld::run(*drives.other);
    SyncWorld::run(*drives.world.controller);
    EXPECT_TRUE(drives.world.host.has("Synchronization of \"other\" completed successfully."));
    EXPECT_TRUE(drives.world.host.has("Synchronization of \"stick\" canceled."));
    EXPECT_EQ(drives.treeOf("/media/other"), (Tree{"Music/", "Music/cover.jpg", "Pictures/", "Pictures/p.jpg"}));
    EXPECT_EQ(drives.treeOf("/media/stick"), Tree{});
    EXPECT_FALSE(drives.other->cancelPending());
}

} // namespace
} // namespace vt::test
