#include "platform/qt/QtConnection.h"

#include <QFileInfo>

#include <dbus/dbus.h>

#include <climits>

namespace vt::qtbus {

namespace {

// The bus library stops reading while messages of more than a limit are kept, and goes on when they are let go. QtDBus
// reads on a thread of its own and takes that sign on no other: a message let go on ours would leave the connection
// deaf for ever. What stands in line for an answer is bounded there.
void neverStopReading(const QDBusConnection& connection) {
    auto* const raw = static_cast<DBusConnection*>(connection.internalPointer());
    if (raw == nullptr) return;
    dbus_connection_set_max_received_size(raw, LONG_MAX);
    dbus_connection_set_max_received_unix_fds(raw, LONG_MAX);
}

} // namespace

QDBusConnection openSessionBus() {
    QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (address.isEmpty()) {
        const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
        if (!socket.startsWith(QLatin1Char('/')) || !QFileInfo::exists(socket))
            return QDBusConnection(QStringLiteral("vantaro-none"));
        address = QStringLiteral("unix:path=") + socket;
    }
    return openBusAt(address, QStringLiteral("vantaro-session"));
}

QDBusConnection openBusAt(const QString& address, const QString& connectionName) {
    QDBusConnection connection = QDBusConnection::connectToBus(address, connectionName);
    neverStopReading(connection);
    return connection;
}

} // namespace vt::qtbus
