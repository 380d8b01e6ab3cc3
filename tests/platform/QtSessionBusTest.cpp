#include "SessionBusWorld.h"
#include "platform/qt/QtValues.h"

#include <QDBusArgument>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace vt::test {
namespace {

using namespace literals;

TEST_F(QtSessionBusTest, IntrospectionIsTheInstalledFile) {
    const QDBusMessage reply = ground.call("org.freedesktop.DBus.Introspectable", "Introspect", {});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << nameOf(reply);
    std::ifstream file(VT_SOURCE_DIR "/packaging/com.corvane.vantaro.xml");
    std::stringstream installed;
    installed << file.rdbuf();
    EXPECT_EQ(reply.arguments().at(0).toString().toStdString(), installed.str());
    EXPECT_NE(installed.str(), "");
}

TEST_F(QtSessionBusTest, NoInterfaceHasProperties) {
    for (const char* interface : {qtbus::eventsInterface, qtbus::drivesInterface, qtbus::notificationsInterface}) {
        const QDBusMessage reply =
            ground.call("org.freedesktop.DBus.Properties", "GetAll", {QString::fromLatin1(interface)});
        ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << nameOf(reply);
        EXPECT_EQ(reply.signature().toStdString(), "a{sv}");
        EXPECT_TRUE(qdbus_cast<QVariantMap>(reply.arguments().at(0)).isEmpty());
    }
    EXPECT_EQ(nameOf(ground.call("org.freedesktop.DBus.Properties", "GetAll", {latin("com.corvane.other")})),
              "org.freedesktop.DBus.Error.UnknownInterface");
}

TEST_F(QtSessionBusTest, ASecondAgentIsTold) {
    StubService other;
    QtSessionBus second(ground.caller);
    EXPECT_EQ(second.start(other).code(), EEXIST);
    bus.stop();
    EXPECT_TRUE(second.start(other).ok());
    second.stop();
}

TEST_F(QtSessionBusTest, TheAgentEndsWithItsBus) {
    onPath("Progress", "/media/stick");
    EXPECT_FALSE(service.ended);
    ground.bus.end();
    EXPECT_TRUE(qtRunUntil([&] { return service.ended; }));
    bus.stop();
}

TEST_F(QtSessionBusTest, ExplainCarriesADriveAndAFile) {
    service.driveAnswer =
        Value::Dictionary{{"accepted", true}, {"patterns", Value::Array{Value(Value::Dictionary{{"list", "movies"}})}}};
    const QVariantList both{QStringLiteral("/media/stick"), QStringLiteral("/home/ada/a.mp4")};
    QDBusMessage reply = ground.call(qtbus::drivesInterface, "Explain", both);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(reply.signature().toStdString(), "a{sv}");
    EXPECT_EQ(service.asked.back(), "explain /media/stick /home/ada/a.mp4");
    service.driveAnswer = Error{ENXIO, Disposition::skipItem, {}, "no such file"};
    reply = ground.call(qtbus::drivesInterface, "Explain", both);
    EXPECT_EQ(nameOf(reply), "com.corvane.vantaro.Error.NoSuchFile");
    EXPECT_EQ(reply.errorMessage().toStdString(), "no such file");
    EXPECT_EQ(nameOf(onPath("Explain", "/media/stick")), "org.freedesktop.DBus.Error.InvalidArgs");
}

TEST(QtSessionBusWithoutBus, StartSaysSo) {
    qtApplication();
    StubService service;
    QtSessionBus bus{QDBusConnection(QStringLiteral("no such connection"))};
    EXPECT_EQ(bus.start(service).code(), ENOTCONN);
    bus.driveAppeared("/a");
    bus.stop();
}

TEST_F(QtSessionBusTest, DescriptorsTravelBothWays) {
    const EventDescriptor::Record record{
        {"----"_fcc, EventDescriptor(EventDescriptor::List{EventDescriptor::descriptorWithText("a"),
                                                           EventDescriptor(EventDescriptor::List{})})},
        {"kfrm"_fcc, EventDescriptor("obj "_fcc, EventDescriptor::Record{{"form"_fcc, {"long"_fcc, {"\0\0\0\7", 4}}}})},
        {"null"_fcc, EventDescriptor()},
    };
    service.eventReply = record;
    const QDBusMessage reply = sendEvent(record);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(reply.signature().toStdString(), "a{s(sv)}");
    const auto answered = qtdescriptors::fromBus(reply.arguments().at(0));
    ASSERT_TRUE(answered.ok()) << answered.error().text;
    EXPECT_EQ(*answered, record);
    ASSERT_EQ(service.events.size(), 1U);
    EXPECT_EQ(service.events[0].eventClass, "vnTR"_fcc);
    EXPECT_EQ(service.events[0].eventId, "GETL"_fcc);
    EXPECT_EQ(service.events[0].parameters, record);
    EXPECT_TRUE(service.events[0].wantsReply);
}

TEST_F(QtSessionBusTest, AnUnknownEventIsAnError) {
    service.eventReply = Error{ENOSYS, Disposition::goOn, {}, "unknown event"};
    const QDBusMessage reply = sendEvent({});
    EXPECT_EQ(nameOf(reply), "com.corvane.vantaro.Error.UnknownEvent");
    EXPECT_EQ(reply.errorMessage().toStdString(), "unknown event");
}

TEST_F(QtSessionBusTest, UnknownMembersAreAnswered) {
    EXPECT_EQ(nameOf(ground.call(qtbus::drivesInterface, "Format", {})), "org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_EQ(nameOf(ground.call(qtbus::drivesInterface, "Adopt", {QVariant(7)})),
              "org.freedesktop.DBus.Error.InvalidArgs");
}

TEST_F(QtSessionBusTest, DrivesAreListedWithEveryKindOfValue) {
    service.driveList = {{{"name", "A\xff"},
                          {"busy", true},
                          {"totalBytes", std::uint64_t{1} << 63U},
                          {"deviceFilter", -1},
                          {"lastSyncTime", Date::fromSeconds(0)},
                          {"serviceName", Value()},
                          {"syncList", Value::Array{"/a", "/b"}},
                          {"nested", Value::Dictionary{{"real", 0.5}, {"mixed", Value::Array{1, "x"}}}},
                          {"data", Value::Data{std::string("\0\1", 2)}}}};
    const QDBusMessage reply = ground.call(qtbus::drivesInterface, "List", {});
    ASSERT_EQ(reply.signature().toStdString(), "aa{sv}");
    const auto argument = reply.arguments().at(0).value<QDBusArgument>();
    argument.beginArray();
    const auto drive = qtvalues::fromBus(argument.asVariant());
    argument.endArray(); // a message is kept until every array begun in it is ended
    ASSERT_TRUE(drive.ok()) << drive.error().text;
    Value::Dictionary expected = service.driveList[0];
    expected.erase("serviceName");
    expected["name"] = "A\xEF\xBF\xBD";
    expected["lastSyncTime"] = "1970-01-01T00:00:00Z";
    EXPECT_EQ(Value(*drive).description(), Value(expected).description());
}

TEST_F(QtSessionBusTest, AdoptMayBeAnsweredLater) {
    service.answersLater = true;
    service.driveAnswer = Value::Dictionary{{"mountPoint", "/media/x"}};
    const QDBusPendingCall pending = ask(qtbus::drivesInterface, "Adopt", {QStringLiteral("/media/x")});
    ASSERT_TRUE(qtRunUntil([&] { return !service.asked.empty(); }));
    EXPECT_FALSE(pending.isFinished());
    service.owed();
    ASSERT_TRUE(qtRunUntil([&] { return pending.isFinished(); }));
    const auto drive = qtvalues::fromBus(pending.reply().arguments().at(0));
    ASSERT_TRUE(drive.ok());
    EXPECT_EQ(drive->at("mountPoint"), Value("/media/x"));
}

TEST_F(QtSessionBusTest, ADroppedAnswerIsAnError) {
    service.answersNever = true;
    EXPECT_EQ(nameOf(onPath("Adopt", "/x")), "com.corvane.vantaro.Error.Cancelled");
}

TEST_F(QtSessionBusTest, ErrorsHaveNamesAndTexts) {
    struct Row {
        const char* member;
        int code;
        const char* name;
    };
    const std::vector<Row> rows = {
        {"Progress", ENOENT, "com.corvane.vantaro.Error.NotServed"},
        {"Forget", ENOENT, "com.corvane.vantaro.Error.NotServed"},
        {"Eject", ENOENT, "com.corvane.vantaro.Error.NotServed"},
        {"Adopt", ENOENT, "com.corvane.vantaro.Error.NoSuchFile"},
        {"Eject", EBUSY, "com.corvane.vantaro.Error.Busy"},
        {"Adopt", EACCES, "com.corvane.vantaro.Error.AccessDenied"},
        {"Adopt", EIO, "com.corvane.vantaro.Error.Failed"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.member);
        const Error error{row.code, Disposition::skipItem, "/x", "Sync In Progress"};
        service.driveAnswer = error;
        service.outcome = error;
        const QDBusMessage reply = onPath(row.member, "/x");
        EXPECT_EQ(nameOf(reply), row.name);
        EXPECT_EQ(reply.errorMessage().toStdString(), "Sync In Progress");
    }
}

TEST_F(QtSessionBusTest, SuccessIsAnEmptyReply) {
    EXPECT_EQ(onPath("Forget", "/media/ü").type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(onPath("Eject", "/x").type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(service.asked, (std::vector<std::string>{"forget /media/ü", "eject /x"}));
}

TEST_F(QtSessionBusTest, TheQuitEventEndsTheAgent) {
    const QDBusMessage reply = ground.call(qtbus::eventsInterface, "Send",
                                           {QStringLiteral("aevt"), QStringLiteral("quit"), *qtdescriptors::toBus({})});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(service.ended);
    EXPECT_TRUE(service.events.empty());
}

TEST(QtDescriptors, WhatTheBusCannotCarryIsRefused) {
    EventDescriptor nested;
    for (int level = 0; level < 30; ++level) nested = EventDescriptor(EventDescriptor::List{nested});
    EXPECT_EQ(qtdescriptors::toBus({{"deep"_fcc, nested}}).code(), ELOOP);
    const EventDescriptor large("utf8"_fcc, std::string(qtvalues::largestContent + 1, 'x'));
    EXPECT_EQ(qtdescriptors::toBus({{"big "_fcc, large}}).code(), E2BIG);
}

TEST(QtValues, WhatTheBusCannotCarryIsRefused) {
    Value nested = 1;
    for (int level = 0; level < 40; ++level) nested = Value::Dictionary{{"k", nested}};
    EXPECT_EQ(qtvalues::toBus({{"deep", nested}}).code(), ELOOP);
    EXPECT_EQ(qtvalues::toBus({{"big", std::string(qtvalues::largestContent + 1, 'x')}}).code(), E2BIG);
    EXPECT_EQ(qtvalues::fromBus(QVariant(7)).code(), EINVAL);
    EXPECT_EQ(qtvalues::fromBus(QVariant(QVariantMap{{QStringLiteral("k"), QVariant(QChar('x'))}})).code(), EINVAL);
}

} // namespace
} // namespace vt::test
