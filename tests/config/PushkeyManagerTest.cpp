// The event that opens a drive's sync settings in the manager application.
#include "config/VTPushkeyManager.h"

#include "platform/fake/FakeRunLoop.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

using namespace literals;
using std::chrono::milliseconds;

constexpr const char* drive = "/media/ann/Stick";

class FakeApplications final : public Applications {
  public:
    std::vector<std::string> running = {"org.example.Editor"};
    bool launches = true;
    std::vector<std::pair<std::string, LaunchOptions>> launched;

    std::vector<std::string> runningApplications() override { return running; }
    bool launch(const std::string& bundleIdentifier, LaunchOptions options) override {
        launched.emplace_back(bundleIdentifier, options);
        return launches;
    }
};

class FakeEventSender final : public EventSender {
  public:
    std::vector<OutgoingEvent> sent;
    std::vector<SendMode> modes;
    SentEvent outcome{0, EventDescriptor::Record{}};

    SentEvent send(const OutgoingEvent& event, SendMode mode) override {
        sent.push_back(event);
        modes.push_back(mode);
        return outcome;
    }
};

class PushkeyManager : public testing::Test {
  protected:
    FakeClock clock{Date::fromSeconds(0)};
    FakeRunLoop loop{clock};
    FakeApplications applications;
    FakeEventSender events;
    VTPushkeyManager manager{{applications, events, loop}};
};

TEST_F(PushkeyManager, ARunningOneIsSentTheEventAtOnceWithoutATimer) {
    applications.running.emplace_back("com.Talmont.PushkeyManager");
    EXPECT_TRUE(manager.openSyncSettingsForDevice(drive));
    ASSERT_EQ(events.sent.size(), 1U);
    const OutgoingEvent& event = events.sent[0];
    EXPECT_EQ(event.target, EventDescriptor("bund"_fcc, "com.Talmont.PushkeyManager"));
    EXPECT_EQ(event.eventClass, "vnTR"_fcc);
    EXPECT_EQ(event.eventId, "osse"_fcc);
    EXPECT_EQ(event.parameters, (EventDescriptor::Record{{"----"_fcc, EventDescriptor("utf8"_fcc, drive)}}));
    EXPECT_EQ(events.modes, std::vector<SendMode>{3});
    EXPECT_TRUE(applications.launched.empty());
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(PushkeyManager, OneThatWasLaunchedIsSentTheEventOnceASecondLater) {
    EXPECT_TRUE(manager.openSyncSettingsForDevice(drive));
    EXPECT_EQ(applications.launched,
              (std::vector<std::pair<std::string, LaunchOptions>>{{"com.Talmont.PushkeyManager", 0x10000}}));
    loop.advance(milliseconds(999));
    EXPECT_TRUE(events.sent.empty());
    loop.advance(milliseconds(1));
    ASSERT_EQ(events.sent.size(), 1U);
    EXPECT_EQ(*events.sent[0].parameters.at("----"_fcc).bytes(), drive);
    loop.advance(std::chrono::seconds(60));
    EXPECT_EQ(events.sent.size(), 1U);
}

TEST_F(PushkeyManager, TwoDrivesAskedForDuringALaunchAreBothNamed) {
    EXPECT_TRUE(manager.openSyncSettingsForDevice("/media/ann/One"));
    loop.advance(milliseconds(500));
    EXPECT_TRUE(manager.openSyncSettingsForDevice("/media/ann/Two"));
    loop.advance(std::chrono::seconds(2));
    ASSERT_EQ(events.sent.size(), 2U);
    EXPECT_EQ(*events.sent[0].parameters.at("----"_fcc).bytes(), "/media/ann/One");
    EXPECT_EQ(*events.sent[1].parameters.at("----"_fcc).bytes(), "/media/ann/Two");
}

TEST_F(PushkeyManager, AFailedLaunchIsFalseAndSendsNothing) {
    applications.launches = false;
    EXPECT_FALSE(manager.openSyncSettingsForDevice(drive));
    loop.advance(std::chrono::seconds(60));
    EXPECT_TRUE(events.sent.empty());
}

TEST_F(PushkeyManager, NothingIsSentWithoutADrive) {
    applications.running.emplace_back("com.Talmont.PushkeyManager");
    EXPECT_TRUE(manager.openSyncSettingsForDevice(std::nullopt));
    EXPECT_TRUE(events.sent.empty());
}

TEST_F(PushkeyManager, ASendingThatFailedIsNotReported) {
    applications.running.emplace_back("com.Talmont.PushkeyManager");
    events.outcome = {111, std::nullopt};
    EXPECT_TRUE(manager.openSyncSettingsForDevice(drive));
}

TEST_F(PushkeyManager, OnlyTheExactIdentifierIsThatApplication) {
    applications.running = {"com.Talmont.PushkeyManager2", "com.talmont.pushkeymanager"};
    EXPECT_FALSE(manager.isAppRunning("com.Talmont.PushkeyManager"));
    applications.running.emplace_back("com.Talmont.PushkeyManager");
    EXPECT_TRUE(manager.isAppRunning("com.Talmont.PushkeyManager"));
}

TEST_F(PushkeyManager, ASendingIsJudgedByItsStatusAndTheReplysErrorNumber) {
    const auto judged = [](std::int32_t status, const std::optional<EventDescriptor::Record>& reply) {
        return VTPushkeyManager::checkStatus(status, reply, "openSyncSettingsForDevice");
    };
    const EventDescriptor::Record plain{{"----"_fcc, EventDescriptor::descriptorWithInt32(7)}};
    const EventDescriptor::Record none{{"errn"_fcc, EventDescriptor::descriptorWithInt32(0)}};
    const EventDescriptor::Record error{{"errn"_fcc, EventDescriptor::descriptorWithInt32(-50)}};
    EXPECT_TRUE(judged(0, EventDescriptor::Record{}));
    EXPECT_TRUE(judged(0, plain));
    EXPECT_TRUE(judged(0, none));
    EXPECT_FALSE(judged(0, error));
    EXPECT_FALSE(judged(0, std::nullopt));
    EXPECT_FALSE(judged(-1712, plain));
    EXPECT_FALSE(judged(-1712, std::nullopt));
}

} // namespace
} // namespace vt
