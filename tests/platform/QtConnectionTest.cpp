#include "platform/qt/QtConnection.h"

#include "support/BusGround.h"

#include <dbus/dbus.h>
#include <gtest/gtest.h>

#include <climits>

namespace vt::test {
namespace {

// Past either limit the connection would never read again: QtDBus misses the sign to go on.
TEST(QtConnection, NoAmountOfBytesOrDescriptorsEndsItsReading) {
    const BusGround ground;
    auto* const raw = static_cast<DBusConnection*>(ground.agent.internalPointer());
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(dbus_connection_get_max_received_size(raw), LONG_MAX);
    EXPECT_EQ(dbus_connection_get_max_received_unix_fds(raw), LONG_MAX);
}

TEST(QtConnection, WithoutABusItIsNotConnectedAndAsksNothing) {
    qtApplication();
    const QDBusConnection none =
        qtbus::openBusAt(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("no-bus"));
    EXPECT_FALSE(none.isConnected());
    QDBusConnection::disconnectFromBus(QStringLiteral("no-bus"));
}

} // namespace
} // namespace vt::test
