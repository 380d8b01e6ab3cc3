#include "platform/qt/QtApplications.h"

#include "config/VTPushkeyManager.h"
#include "platform/qt/QtDescriptors.h"
#include "support/BusGround.h"

#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

namespace vt::test {
namespace {

using namespace literals;

constexpr const char* manager = "com.Talmont.PushkeyManager";

// The manager application's side of the bus.
class Manager final : public QDBusVirtualObject {
  public:
    explicit Manager(QDBusConnection connection) : _connection(std::move(connection)) {
        _connection.registerVirtualObject("/com/Talmont/PushkeyManager", this);
        _connection.registerService(manager);
    }
    ~Manager() override {
        _connection.unregisterService(manager);
        _connection.unregisterObject("/com/Talmont/PushkeyManager");
    }
    std::vector<std::string> received; // "class id drive"
    QVariant reply;                    // of type a{s(sv)}
    QString error;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != qtbus::eventsInterface || message.member() != "Send") return false;
        const auto parameters = qtdescriptors::fromBus(message.arguments().at(2));
        received.push_back(message.arguments().at(0).toString().toStdString() + " " +
                           message.arguments().at(1).toString().toStdString() + " " +
                           *parameters->at("----"_fcc).bytes());
        connection.send(error.isEmpty() ? message.createReply(reply) : message.createErrorReply(error, "no"));
        return true;
    }

  private:
    QDBusConnection _connection;
};

class QtApplicationsTest : public testing::Test {
  protected:
    QtApplicationsTest() { qtdescriptors::registerTypes(); }
    static OutgoingEvent openSettings() {
        return {EventDescriptor("bund"_fcc, manager),
                "vnTR"_fcc,
                "osse"_fcc,
                {{"----"_fcc, EventDescriptor::descriptorWithText("/media/ann/Stick")}}};
    }
    BusGround ground;
    QtApplications applications{ground.agent};
};

TEST_F(QtApplicationsTest, WhatOwnsANameIsRunning) {
    const auto isRunning = [&] {
        const auto running = applications.runningApplications();
        return std::find(running.begin(), running.end(), manager) != running.end();
    };
    EXPECT_FALSE(isRunning());
    {
        const Manager other(ground.caller);
        EXPECT_TRUE(isRunning());
        for (const std::string& name : applications.runningApplications()) EXPECT_NE(name.front(), ':');
    }
    EXPECT_FALSE(isRunning());
}

TEST_F(QtApplicationsTest, AnEventTravelsToTheApplicationAndItsReplyBack) {
    Manager other(ground.caller);
    other.reply = *qtdescriptors::toBus({{"errn"_fcc, EventDescriptor::descriptorWithInt32(-50)}});
    const SentEvent sent = applications.send(openSettings(), waitReply);
    EXPECT_EQ(sent.status, 0);
    ASSERT_TRUE(sent.reply.has_value());
    EXPECT_EQ(sent.reply->at("errn"_fcc).int32Value(), -50);
    EXPECT_EQ(other.received, std::vector<std::string>{"vnTR osse /media/ann/Stick"});
}

TEST_F(QtApplicationsTest, TheManagersEventIsSentOverTheBus) {
    Manager other(ground.caller);
    other.reply = *qtdescriptors::toBus({});
    VTPushkeyManager launcher({applications, applications, ground.loop});
    EXPECT_TRUE(launcher.openSyncSettingsForDevice("/media/ann/Stick"));
    EXPECT_EQ(other.received, std::vector<std::string>{"vnTR osse /media/ann/Stick"});
}

TEST_F(QtApplicationsTest, ASendingThatFailsSaysHow) {
    EXPECT_EQ(applications.send(openSettings(), waitReply).status, ENOTCONN) << "nobody owns the name";
    Manager other(ground.caller);
    other.error = "org.freedesktop.DBus.Error.Failed";
    EXPECT_EQ(applications.send(openSettings(), waitReply).status, EIO);
    other.error.clear();
    other.reply = QStringLiteral("no record");
    EXPECT_EQ(applications.send(openSettings(), waitReply).status, EIO);
    OutgoingEvent elsewhere = openSettings();
    elsewhere.target = EventDescriptor("psn "_fcc, std::string(8, '\1'));
    EXPECT_EQ(applications.send(elsewhere, waitReply).status, EINVAL);
    EXPECT_EQ(other.received.size(), 2U);
    QtApplications unconnected{QDBusConnection(QStringLiteral("no such connection"))};
    EXPECT_EQ(unconnected.send(openSettings(), waitReply).status, ENOTCONN);
    EXPECT_TRUE(unconnected.runningApplications().empty());
    EXPECT_FALSE(unconnected.launch(manager, launchAsync));
}

TEST_F(QtApplicationsTest, WhatTheBusCannotStartIsNotLaunched) {
    EXPECT_FALSE(applications.launch(manager, launchAsync));
}

} // namespace
} // namespace vt::test
