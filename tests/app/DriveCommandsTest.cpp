// What the event commands do to a drive, from the event to the drive's queue. Its worker is played by hand.
#include "AppWorld.h"

#include <gmock/gmock.h>

namespace vt::test {
namespace {

using namespace literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Lines = std::vector<std::string>;

constexpr const char* music = "/home/ada/Music";
constexpr const char* letters = "/home/ada/Letters";
constexpr const char* activityName = "com.corvane.vantaro.syncInProgress.notification.evt";

EventDescriptor boolean(bool value) {
    return EventDescriptor::descriptorWithBOOL(value);
}
EventDescriptor url(const std::string& path) {
    return *EventDescriptor::descriptorWithPathAsCFURL(path);
}

class DriveCommandsTest : public testing::Test {
  protected:
    void SetUp() override {
        world.start();
        world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        drive()->playWorkerByHand();
        world.pass(1'000);
        run(); // the sync on connect
        world.notifications.posted.clear();
        world.alerts.shown.clear();
    }
    [[nodiscard]] std::shared_ptr<VTSyncController> drive() const { return world.controllerAt("disk8s1"); }
    void run() const { SyncWorld::run(*drive()); }
    // The reply, before anything that was put off until after it.
    EventDescriptor::Record send(FourCharCode id, EventDescriptor::Record parameters = {}) {
        parameters.emplace("----"_fcc, url(AppWorld::stick));
        const auto reply = world.app->drivesService().event({"vnTR"_fcc, id, std::move(parameters), true});
        EXPECT_TRUE(reply.ok());
        return reply.valueOr({});
    }
    EventDescriptor::Record sendList(const Lines& paths) {
        EventDescriptor::List items;
        for (const std::string& path : paths) items.push_back(url(path));
        return send("SETL"_fcc, {{"ITMZ"_fcc, EventDescriptor(std::move(items))}});
    }
    Lines list() {
        Lines paths;
        const auto reply = send("GETL"_fcc);
        for (const EventDescriptor& item : *reply.at("----"_fcc).list()) paths.push_back(*item.getFileURL());
        return paths;
    }
    std::vector<std::optional<Value::Dictionary>> activities() const {
        std::vector<std::optional<Value::Dictionary>> found;
        for (const auto& post : world.notifications.posted)
            if (post.name == activityName) found.push_back(post.userInfo);
        return found;
    }
    void expectAlert(const std::string& title) {
        EXPECT_TRUE(world.alerts.shown.empty()) << "an alert is shown after the reply";
        world.loop.runPending();
        ASSERT_EQ(world.alerts.shown.size(), 1U);
        const Alert& alert = world.alerts.shown[0];
        EXPECT_EQ(alert.title, title);
        EXPECT_EQ(alert.message, "The drive \"stick\" is already involved in a sync operation.");
        EXPECT_EQ(alert.buttons, Lines{"OK"});
        EXPECT_TRUE(alert.critical);
    }
    AppWorld world;
};

TEST_F(DriveCommandsTest, ANewListIsTheDrivesASecondLaterAndASyncFollows) {
    ASSERT_THAT(list(), ElementsAre(music));
    EXPECT_TRUE(sendList({music, letters}).empty());
    world.pass(999);
    EXPECT_THAT(list(), ElementsAre(music)) << "until then the old one is answered";
    EXPECT_THAT(world.events.watched(), ElementsAre(music));
    EXPECT_FALSE(drive()->busy());
    world.pass(1);
    EXPECT_THAT(list(), ElementsAre(music, letters));
    EXPECT_THAT(world.events.watched(), ElementsAre(music, letters)) << "the streams follow the list once it holds";
    EXPECT_TRUE(drive()->busyWithSynclistOnly()) << "a sync is queued";
    run();
    EXPECT_EQ(drive()->deviceConfiguration().syncItemList(), (Lines{"~/Music", "~/Letters"}));
}

TEST_F(DriveCommandsTest, WithoutContinuousSyncANewListStartsNoSync) {
    send("SCSS"_fcc, {{"CSSP"_fcc, boolean(false)}});
    run();
    sendList({letters});
    world.pass(1'000);
    EXPECT_THAT(list(), ElementsAre(letters));
    EXPECT_FALSE(drive()->busyWithSynclistOnly());
}

TEST_F(DriveCommandsTest, AListIsRefusedWhileASyncIsQueued) {
    drive()->sync();
    EXPECT_TRUE(sendList({letters}).empty()) << "no error in the reply";
    expectAlert("Cannot Update Sync List.");
    run();
    world.pass(5'000);
    EXPECT_THAT(list(), ElementsAre(music));
}

TEST_F(DriveCommandsTest, AListIsTakenWhileOnlyAContinuousPassIsQueued) {
    send("SCSS"_fcc, {{"CSSP"_fcc, boolean(true)}});
    ASSERT_TRUE(drive()->busy());
    sendList({letters});
    world.pass(1'000);
    EXPECT_THAT(list(), ElementsAre(letters));
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST_F(DriveCommandsTest, AListClearsAPendingCancel) {
    drive()->setCancelPending(true, true);
    sendList({letters});
    EXPECT_FALSE(drive()->cancelPending());
}

TEST_F(DriveCommandsTest, AStartIsASyncASecondLater) {
    drive()->setCancelPending(true, true);
    EXPECT_TRUE(send("DOIT"_fcc).empty());
    EXPECT_FALSE(drive()->cancelPending());
    ASSERT_EQ(activities().size(), 1U) << "it is told at once";
    ASSERT_TRUE(activities()[0].has_value());
    EXPECT_EQ(activities()[0]->at("activePath"), Value(AppWorld::stick));
    EXPECT_EQ(activities()[0]->at("syncCopied"), Value(std::uint64_t{0})) << "with the counters set back";
    world.pass(999);
    EXPECT_FALSE(drive()->busy());
    world.pass(1);
    EXPECT_TRUE(drive()->busyWithSynclistOnly());
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST_F(DriveCommandsTest, AStartSwitchesParticipationOnAlsoWhenItIsThenRefused) {
    send("SPSS"_fcc, {{"PSSP"_fcc, boolean(false)}});
    run();
    ASSERT_EQ(send("GPSS"_fcc).at("----"_fcc), boolean(false));
    ASSERT_THAT(world.events.watched(), IsEmpty());
    drive()->sync();
    EXPECT_TRUE(send("DOIT"_fcc).empty()) << "no error in the reply";
    EXPECT_EQ(send("GPSS"_fcc).at("----"_fcc), boolean(true));
    EXPECT_THAT(world.events.watched(), ElementsAre(music));
    expectAlert("Cannot Start Sync.");
    EXPECT_THAT(activities(), IsEmpty());
    run();
    world.pass(5'000);
    EXPECT_FALSE(drive()->busy());
}

TEST_F(DriveCommandsTest, AStopMarksTheCancelWithYes) {
    drive()->sync();
    EXPECT_TRUE(send("STOP"_fcc).empty());
    EXPECT_TRUE(drive()->cancelPending());
    EXPECT_TRUE(drive()->cancelRVal());
    run();
    drive()->sync();
    drive()->cancelButtonClicked();
    EXPECT_FALSE(drive()->cancelRVal()) << "the button says no";
}

TEST_F(DriveCommandsTest, ParticipationOffCancelsAndOnAppliesTheContinuousStateAgain) {
    drive()->sync();
    send("SPSS"_fcc, {{"PSSP"_fcc, boolean(false)}});
    EXPECT_TRUE(drive()->cancelPending());
    EXPECT_THAT(world.events.watched(), IsEmpty());
    run();
    drive()->setCancelPending(true, true);
    send("SPSS"_fcc, {{"PSSP"_fcc, boolean(true)}});
    EXPECT_FALSE(drive()->cancelPending()) << "an old mark must not end what participation starts";
    EXPECT_TRUE(drive()->busy()) << "the continuous state, applied again, is a task";
    EXPECT_THAT(world.events.watched(), ElementsAre(music));
}

TEST_F(DriveCommandsTest, ADeviceFilterSchedulesASyncAndKeepsAPendingCancel) {
    send("STOP"_fcc);
    send("SSDF"_fcc, {{"SDFP"_fcc, EventDescriptor::descriptorWithInt32(5)}});
    EXPECT_EQ(send("GSDF"_fcc).at("----"_fcc), EventDescriptor::descriptorWithInt32(5));
    EXPECT_TRUE(drive()->cancelPending());
    run();
    world.pass(999);
    EXPECT_FALSE(drive()->busy());
    world.pass(1);
    EXPECT_TRUE(drive()->busyWithSynclistOnly());
}

TEST_F(DriveCommandsTest, AMediaSwitchSchedulesNoSync) {
    send("SSMS"_fcc, {{"SMSP"_fcc, boolean(false)}});
    run();
    world.pass(5'000);
    EXPECT_FALSE(drive()->busy());
    EXPECT_EQ(send("GSMS"_fcc).at("----"_fcc), boolean(false));
}

TEST_F(DriveCommandsTest, AMediaSwitchRebuildsTheListsOfAllFourKinds) {
    drive()->setSyncDocumentsState(false); // nothing was rebuilt for that
    const auto before = drive()->fileValidator();
    send("SSMS"_fcc, {{"SMSP"_fcc, boolean(true)}});
    EXPECT_NE(drive()->fileValidator(), before);
    world.files.writeAtomically("/home/ada/Music/a.txt", "text", 0644).ignore();
    EXPECT_FALSE(drive()->shouldCopyItem("/home/ada/Music/a.txt"));
    send("SSDS"_fcc, {{"SDSP"_fcc, boolean(true)}});
    EXPECT_TRUE(drive()->shouldCopyItem("/home/ada/Music/a.txt"));
}

TEST_F(DriveCommandsTest, QuietIsAlwaysAnsweredWithYes) {
    send("SQSS"_fcc, {{"QSSP"_fcc, boolean(false)}});
    EXPECT_EQ(send("GQSS"_fcc).at("----"_fcc), boolean(true));
    const auto status = world.app->commands().statusForDrive(AppWorld::stick);
    ASSERT_TRUE(status.has_value());
    const auto& user = *status->at(AppWorld::identifier).asDictionary();
    EXPECT_EQ(user.at("quietSyncEnabled"), Value(true));
    EXPECT_EQ(user.count("syncSet"), 0U) << "a private list is no shared one";
}

TEST_F(DriveCommandsTest, AStatusIsFollowedByThePostOfWhoeverIsBusy) {
    send("INFO"_fcc);
    world.loop.runPending();
    EXPECT_THAT(activities(), IsEmpty());
    drive()->sync();
    send("INFO"_fcc);
    EXPECT_THAT(activities(), IsEmpty()) << "the reply goes first";
    world.loop.runPending();
    EXPECT_EQ(activities().size(), 1U);
}

TEST_F(DriveCommandsTest, ARemovedConfigurationLeavesAFreshDriveThatIsNotSetUp) {
    const auto before = drive();
    EXPECT_EQ(send("REMV"_fcc).at("----"_fcc), boolean(true));
    EXPECT_EQ(send("QURY"_fcc).at("----"_fcc), boolean(true)) << "until the worker has taken it";
    run();
    world.loop.runPending();
    ASSERT_TRUE(drive());
    EXPECT_NE(drive(), before);
    ASSERT_EQ(world.app->drivesService().drives().size(), 1U);
    EXPECT_EQ(world.app->drivesService().drives().front().at("fileSystem"), Value("ext4"));
    EXPECT_EQ(send("QURY"_fcc), (EventDescriptor::Record{{"----"_fcc, boolean(false)}}));
    EXPECT_FALSE(world.read("/media/stick/.VantaroConfig").has_value()) << "nothing is written for it";
    EXPECT_THAT(world.events.watched(), IsEmpty());
}

TEST_F(DriveCommandsTest, WithoutAControllerTheAnswersAreFixed) {
    auto& commands = world.app->commands();
    EXPECT_TRUE(commands.syncMediaStateForDrive(MediaKind::movies, "/nowhere"));
    EXPECT_TRUE(commands.syncMediaStateForDrive(MediaKind::music, "/nowhere"));
    EXPECT_TRUE(commands.syncMediaStateForDrive(MediaKind::pictures, "/nowhere"));
    EXPECT_FALSE(commands.syncMediaStateForDrive(MediaKind::documents, "/nowhere"));
    EXPECT_FALSE(commands.getContinuousSyncStateForDrive("/nowhere"));
    EXPECT_FALSE(commands.getParticipateSyncStateForDrive("/nowhere"));
    EXPECT_FALSE(commands.getQuietSyncStateForDrive("/nowhere"));
    EXPECT_EQ(commands.syncDeviceFilterForDrive("/nowhere"), 0);
    EXPECT_THAT(commands.getSyncListForDrive("/nowhere"), IsEmpty());
    EXPECT_FALSE(commands.isDriveSetupForSync("/nowhere"));
    EXPECT_FALSE(commands.isDriveValidForSync("/nowhere", false));
    EXPECT_TRUE(commands.removeDriveSync("/nowhere"));
    EXPECT_FALSE(commands.statusForDrive("/nowhere").has_value());
    commands.setSyncList({letters}, "/nowhere");
    commands.startSyncForDriveAt("/nowhere");
    commands.cancelSyncForDriveAt("/nowhere");
    world.pass(5'000);
    EXPECT_FALSE(drive()->busy());
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST_F(DriveCommandsTest, AnItemThatIsNoUsablePathIsLeftOutWithALine) {
    EventDescriptor::List items{url(music), url("/home/ada/caf\xE9")};
    EXPECT_TRUE(send("SETL"_fcc, {{"ITMZ"_fcc, EventDescriptor(std::move(items))}}).empty());
    EXPECT_TRUE(world.logged("The sync item \"~/caf\xEF\xBF\xBD\" was left out: it is not a usable path."));
    world.pass(1'000);
    EXPECT_THAT(list(), ElementsAre(music));
}

// A drive of somebody else's that this user has not joined.
TEST(DriveCommandsOfANewUser, StartAndParticipationJoinFirst) {
    struct Row {
        const char* name;
        FourCharCode id;
        EventDescriptor::Record parameters;
    };
    for (const Row& row :
         {Row{"start", "DOIT"_fcc, {}}, Row{"participation", "SPSS"_fcc, {{"PSSP"_fcc, boolean(true)}}}}) {
        SCOPED_TRACE(row.name);
        AppWorld world;
        world.disk.mount(AppWorld::stick);
        const std::string text = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>config-version</key>"
                                 "<integer>3</integer><key>sync-type</key><string>ptop</string><key>ptop-list</key>"
                                 "<dict/><key>FFFFFFFFFFFF-1</key><dict/></dict></plist>";
        world.files.writeAtomically("/media/stick/.VantaroConfig", text, 0644).ignore();
        world.start();
        world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        const auto drive = world.controllerAt("disk8s1");
        ASSERT_TRUE(drive);
        drive->playWorkerByHand();
        world.app->commands().setParticipateSyncState(false, AppWorld::stick);
        drive->deviceConfiguration().removeUserFromList();
        ASSERT_FALSE(drive->isParticipatingInSync());
        EventDescriptor::Record parameters = row.parameters;
        parameters.emplace("----"_fcc, url(AppWorld::stick));
        EXPECT_TRUE(world.app->drivesService().event({"vnTR"_fcc, row.id, parameters, true}).ok());
        EXPECT_TRUE(drive->isParticipatingInSync());
        EXPECT_THAT(drive->deviceConfiguration().configSyncUserList().value_or(Lines{}),
                    Contains(AppWorld::identifier));
    }
}

} // namespace
} // namespace vt::test
