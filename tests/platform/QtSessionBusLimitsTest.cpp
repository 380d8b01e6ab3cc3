// What the agent refuses to take from the bus.
#include "SessionBusWorld.h"
#include "platform/qt/QtValues.h"

#include <QDBusArgument>
#include <QDBusVariant>

namespace vt::test {
namespace {

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

class QtSessionBusLine : public QtSessionBusTest {
  protected:
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
    const QVariantList event{QStringLiteral("vnTR"), QStringLiteral("GETL"), *qtdescriptors::toBus({})};
};

TEST_F(QtSessionBusLine, BehindTenThousandThatWaitOneMoreIsRefused) {
    const auto sent = behindTheFirst(10'001, qtbus::eventsInterface, "Send", event);
    ASSERT_EQ(sent.size(), 10'001U);
    EXPECT_EQ(service.events.size(), 10'001U) << "the one that is answered, and those in line";
    EXPECT_EQ(sent.back().reply().errorName().toStdString(), "org.freedesktop.DBus.Error.LimitsExceeded");
    EXPECT_FALSE(sent[9'999].isError());
}

TEST_F(QtSessionBusLine, PathsOfMoreThanTheLineHoldsAreRefused) {
    const QString path(4 * 1024 * 1024, QLatin1Char('x')); // 8 MiB in memory; the line holds 64
    const auto sent = behindTheFirst(9, qtbus::drivesInterface, "Forget", {path});
    ASSERT_EQ(sent.size(), 9U);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_FALSE(sent[i].isError()) << i;
    EXPECT_EQ(sent[8].reply().errorName().toStdString(), "org.freedesktop.DBus.Error.LimitsExceeded");
    EXPECT_EQ(service.asked.size(), 8U);
    EXPECT_EQ(onPath("Forget", "/x").type(), QDBusMessage::ReplyMessage) << "the line is empty again";
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

} // namespace
} // namespace vt::test
