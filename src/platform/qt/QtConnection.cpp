#include "platform/qt/QtConnection.h"

#include <QFileInfo>

namespace vt::qtbus {

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
    return QDBusConnection::connectToBus(address, connectionName);
}

} // namespace vt::qtbus
