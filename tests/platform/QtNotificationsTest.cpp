#include "platform/qt/QtNotifications.h"

#include "platform/qt/QtValues.h"
#include "support/BusGround.h"

#include <QDBusConnectionInterface>

#include <gtest/gtest.h>

namespace vt::test {
namespace {

constexpr const char* name = "com.corvane.vantaro.syncInProgress.notification.evt";
constexpr const char* object = "com.corvane.vantaro.notifications";

class QtNotificationsTest : public ::testing::Test {
  protected:
    // Both ends have subscribed once the bus has answered something later.
    void SetUp() override {
        for (const QDBusConnection& connection : {ground.agent, ground.caller})
            ASSERT_TRUE(connection.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus")).value());
    }
    Notifications::Handler keep() {
        return [this](const Value::Dictionary& userInfo) { heard.push_back(userInfo); };
    }
    bool hears(std::size_t count) {
        return qtRunUntil([&] { return heard.size() >= count; });
    }
    // Everything sent before has been heard once this has.
    void flush(Notifications& from, Notifications& to) {
        bool reached = false;
        const auto end = to.observe("flush", "", [&](const Value::Dictionary&) { reached = true; });
        from.post("flush", "", std::nullopt, 0);
        EXPECT_TRUE(qtRunUntil([&] { return reached; }));
    }
    BusGround ground;
    QtNotifications here{ground.loop, ground.agent};
    QtNotifications there{ground.loop, ground.caller};
    std::vector<Value::Dictionary> heard;
};

TEST_F(QtNotificationsTest, AnotherProcessHearsThePost) {
    const auto observation = there.observe(name, object, keep());
    here.post(name, object, Value::Dictionary{{"activePath", "/a"}, {"syncIsBusy", true}, {"syncSize", 7}}, 3);
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(heard[0], (Value::Dictionary{{"activePath", "/a"}, {"syncIsBusy", true}, {"syncSize", 7}}));
}

TEST_F(QtNotificationsTest, OwnPostsAreHeardOnceAndNeverInsideTheCall) {
    const auto observation = here.observe(name, object, keep());
    here.post(name, object, std::nullopt, 0);
    EXPECT_TRUE(heard.empty());
    ASSERT_TRUE(hears(1));
    flush(there, here);
    EXPECT_EQ(heard, std::vector<Value::Dictionary>{{}});
}

TEST_F(QtNotificationsTest, NameAndObjectSelect) {
    const auto wrongName = there.observe("other", object, keep());
    const auto wrongObject = there.observe(name, "other", keep());
    const auto anyObject = there.observe(name, "", keep());
    here.post(name, object, std::nullopt, 0);
    flush(here, there);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(QtNotificationsTest, AnEndedObservationIsSilent) {
    auto observation = there.observe(name, object, keep());
    here.post(name, object, std::nullopt, 0);
    observation.reset();
    flush(here, there);
    EXPECT_TRUE(heard.empty());
}

TEST_F(QtNotificationsTest, OtherSignalsOfThatNameAreDropped) {
    const auto observation = there.observe("", "", keep());
    for (const QVariantList& arguments :
         {QVariantList{QVariant(1)}, QVariantList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}}) {
        QDBusMessage signal =
            QDBusMessage::createSignal(QString::fromLatin1(qtbus::objectPath),
                                       QString::fromLatin1(qtbus::notificationsInterface), QStringLiteral("Posted"));
        signal.setArguments(arguments);
        ground.agent.send(signal);
    }
    here.post(name, object, Value::Dictionary{{"good", true}}, 0);
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(heard, (std::vector<Value::Dictionary>{{{"good", true}}}));
}

TEST_F(QtNotificationsTest, TextThatIsNotUtf8NeverReachesTheBus) {
    const auto observation = there.observe(name, object, keep());
    here.post(name, object, Value::Dictionary{{"activePath", "/a\xff"}}, 0);
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(heard[0].at("activePath"), Value("/a\xEF\xBF\xBD"));
}

TEST(QtNotificationsWithoutBus, PostsStayInTheProcess) {
    qtApplication();
    QtRunLoop loop;
    QtNotifications notifications(loop, QDBusConnection(QStringLiteral("no such connection")));
    int heard = 0;
    const auto observation = notifications.observe(name, object, [&](const Value::Dictionary&) { ++heard; });
    notifications.post(name, object, std::nullopt, 0);
    EXPECT_TRUE(qtRunUntil([&] { return heard == 1; }));
}

} // namespace
} // namespace vt::test
