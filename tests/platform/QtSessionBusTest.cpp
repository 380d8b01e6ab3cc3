#include "platform/qt/QtSessionBus.h"

#include "platform/qt/QtDescriptors.h"
#include "platform/qt/QtValues.h"
#include "support/BusGround.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <sstream>
#include <utility>

namespace vt::test {
namespace {

using namespace literals;

class StubService final : public BusService {
  public:
    std::vector<BusEvent> events;
    std::function<void()> onFirstEvent;
    Result<EventDescriptor::Record> eventReply = EventDescriptor::Record{};
    std::vector<Value::Dictionary> driveList;
    std::vector<std::string> asked;
    Result<Value::Dictionary> driveAnswer = Value::Dictionary{};
    Result<void> outcome;
    bool answersLater = false;
    bool answersNever = false;
    std::function<void()> owed;
    bool ended = false;

    Result<EventDescriptor::Record> event(const BusEvent& event) override {
        events.push_back(event);
        if (onFirstEvent) std::exchange(onFirstEvent, {})();
        return eventReply;
    }
    std::vector<Value::Dictionary> drives() override { return driveList; }
    std::vector<Value::Dictionary> volumes() override { return {}; }
    void adopt(const std::string& path, DriveCompletion done) override {
        asked.push_back("adopt " + path);
        if (answersNever) return;
        owed = [this, done] { done(driveAnswer); };
        if (!answersLater) owed();
    }
    void forget(const std::string& path, Completion done) override {
        asked.push_back("forget " + path);
        done(outcome);
    }
    void progress(const std::string& path, DriveCompletion done) override {
        asked.push_back("progress " + path);
        done(driveAnswer);
    }
    void eject(const std::string& path, Completion done) override {
        asked.push_back("eject " + path);
        done(outcome);
    }
    void explain(const std::string& drive, const std::string& path, DriveCompletion done) override {
        asked.push_back("explain " + drive + " " + path);
        done(driveAnswer);
    }
    std::vector<Value::Dictionary> waitingList;
    std::vector<Value::Dictionary> waiting() override { return waitingList; }
    void quit() override { ended = true; }
};

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

std::string nameOf(const QDBusMessage& reply) {
    return reply.errorName().toStdString();
}

// A descriptor as no honest caller would write it.
struct RawDescriptor {
    const char* key;
    const char* typeCode;
    QVariant value;
};

QVariant rawRecord(const std::vector<RawDescriptor>& descriptors) {
    QDBusArgument argument;
    argument.beginMap(QMetaType::fromType<QString>(), QMetaType::fromName("vt::qtdescriptors::WireDescriptor"));
    for (const RawDescriptor& descriptor : descriptors) {
        argument.beginMapEntry();
        argument << QString::fromLatin1(descriptor.key);
        argument.beginStructure();
        argument << QString::fromLatin1(descriptor.typeCode) << QDBusVariant(descriptor.value);
        argument.endStructure();
        argument.endMapEntry();
    }
    argument.endMap();
    return QVariant::fromValue(argument);
}

class QtSessionBusTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.start(service).ok()); }
    QDBusMessage sendEvent(const EventDescriptor::Record& parameters) {
        return ground.call(qtbus::eventsInterface, "Send",
                           {QStringLiteral("vnTR"), QStringLiteral("GETL"), *qtdescriptors::toBus(parameters)});
    }
    QDBusMessage onPath(const char* member, const char* path) {
        return ground.call(qtbus::drivesInterface, member, {QString::fromUtf8(path)});
    }
    // Not waited for.
    QDBusPendingCall ask(const char* interface, const char* member, const QVariantList& arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(latin(qtbus::busName), latin(qtbus::objectPath),
                                                           latin(interface), latin(member));
        call.setArguments(arguments);
        return ground.caller.asyncCall(call, patience);
    }
    // As many calls, answered. All are sent and stand in line while a first one is answered: each end's answer from the
    // bus comes behind what was sent before it, and what has come is taken in at once.
    std::vector<QDBusPendingCall> behindTheFirst(std::size_t count, const char* interface, const char* member,
                                                 const QVariantList& arguments) {
        std::vector<QDBusPendingCall> sent;
        service.onFirstEvent = [&] {
            for (std::size_t i = 0; i < count; ++i) sent.push_back(ask(interface, member, arguments));
            for (const QDBusConnection& end : {ground.caller, ground.agent})
                end.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                        "org.freedesktop.DBus", "GetId"),
                         QDBus::Block, patience);
            QCoreApplication::sendPostedEvents();
        };
        const QDBusPendingCall first = ask(qtbus::eventsInterface, "Send", event);
        std::size_t answered = 0;
        EXPECT_TRUE(qtRunUntil([&] {
            while (answered < sent.size() && sent[answered].isFinished()) ++answered;
            return first.isFinished() && answered == count;
        }));
        EXPECT_FALSE(first.isError());
        return sent;
    }
    static constexpr int patience = 600'000; // milliseconds; the usual 25 s are short for so many on a busy computer
    const QVariantList event{QStringLiteral("vnTR"), QStringLiteral("GETL"), *qtdescriptors::toBus({})};
    BusGround ground;
    StubService service;
    QtSessionBus bus{ground.agent};
};

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

TEST_F(QtSessionBusTest, BehindTenThousandThatWaitOneMoreIsRefused) {
    const auto sent = behindTheFirst(10'001, qtbus::eventsInterface, "Send", event);
    ASSERT_EQ(sent.size(), 10'001U);
    EXPECT_EQ(service.events.size(), 10'001U) << "the one that is answered, and those in line";
    EXPECT_EQ(sent.back().reply().errorName().toStdString(), "org.freedesktop.DBus.Error.LimitsExceeded");
    EXPECT_FALSE(sent[9'999].isError());
}

TEST_F(QtSessionBusTest, PathsOfMoreThanTheLineHoldsAreRefused) {
    const QString path(4 * 1024 * 1024, QLatin1Char('x')); // 8 MiB in memory; the line holds 64
    const auto sent = behindTheFirst(9, qtbus::drivesInterface, "Forget", {path});
    ASSERT_EQ(sent.size(), 9U);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_FALSE(sent[i].isError()) << i;
    EXPECT_EQ(sent[8].reply().errorName().toStdString(), "org.freedesktop.DBus.Error.LimitsExceeded");
    EXPECT_EQ(service.asked.size(), 8U);
    EXPECT_EQ(onPath("Forget", "/x").type(), QDBusMessage::ReplyMessage) << "the line is empty again";
}

TEST_F(QtSessionBusTest, AnUnknownEventIsAnError) {
    service.eventReply = Error{ENOSYS, Disposition::goOn, {}, "unknown event"};
    const QDBusMessage reply = sendEvent({});
    EXPECT_EQ(nameOf(reply), "com.corvane.vantaro.Error.UnknownEvent");
    EXPECT_EQ(reply.errorMessage().toStdString(), "unknown event");
}

TEST_F(QtSessionBusTest, WrongShapesAreRefusedBeforeTheServiceSeesThem) {
    const QVariant none = *qtdescriptors::toBus({});
    struct Row {
        const char* name;
        QVariantList arguments;
    };
    const QVariantMap plain{{QStringLiteral("----"), QVariant(1)}};
    const std::vector<Row> rows = {
        {"no arguments", {}},
        {"parameters of another type", {QStringLiteral("vnTR"), QStringLiteral("GETL"), plain}},
        {"an event class of three bytes", {QStringLiteral("vnT"), QStringLiteral("GETL"), none}},
        {"an event ID of five bytes", {QStringLiteral("vnTR"), QStringLiteral("GETLL"), none}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QDBusMessage reply = ground.call(qtbus::eventsInterface, "Send", row.arguments);
        EXPECT_EQ(nameOf(reply), "org.freedesktop.DBus.Error.InvalidArgs");
    }
    EXPECT_TRUE(service.events.empty());
}

TEST_F(QtSessionBusTest, HostileDescriptorsAreRefusedWithTheirPlace) {
    const QVariant leaf = QByteArray("x");
    const QVariant half = QByteArray(static_cast<qsizetype>(qtvalues::largestContent / 2 + 1), 'x');
    struct Row {
        const char* name;
        std::vector<RawDescriptor> raw;
        const char* message;
    };
    const std::vector<Row> rows = {
        {"a key of three bytes", {{"abc", "utf8", leaf}}, "parameters: the key \"abc\" is no four-character keyword"},
        {"a type code of five bytes", {{"----", "utf88", leaf}}, "parameters.----: a type code has four bytes"},
        {"a leaf that is a number",
         {{"----", "long", QVariant(7)}},
         "parameters.----: the value must be of type ay, a(sv) or a{s(sv)}"},
        {"more than 16 MiB in two",
         {{"big1", "utf8", half}, {"big2", "utf8", half}},
         "the descriptors are larger than 16 MiB"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QDBusMessage reply = ground.call(qtbus::eventsInterface, "Send",
                                               {QStringLiteral("vnTR"), QStringLiteral("GETL"), rawRecord(row.raw)});
        EXPECT_EQ(nameOf(reply), "org.freedesktop.DBus.Error.InvalidArgs");
        EXPECT_EQ(reply.errorMessage().toStdString(), row.message);
    }
    EXPECT_TRUE(service.events.empty());
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
