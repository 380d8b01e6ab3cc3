// The connection to this user's session bus, and the names that the agent uses there. Thread: main.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace vt::qtbus {

inline constexpr const char* busName = "com.corvane.vantaro";
inline constexpr const char* objectPath = "/com/corvane/vantaro";
inline constexpr const char* eventsInterface = "com.corvane.vantaro.Events";
inline constexpr const char* drivesInterface = "com.corvane.vantaro.Drives";
inline constexpr const char* notificationsInterface = "com.corvane.vantaro.Notifications";

// From DBUS_SESSION_BUS_ADDRESS, else the user's bus in XDG_RUNTIME_DIR. Never launches a bus of its own: without one
// the connection answers false to isConnected().
[[nodiscard]] QDBusConnection openSessionBus();
// A connection of its own to the bus at `address`.
[[nodiscard]] QDBusConnection openBusAt(const QString& address, const QString& connectionName);

} // namespace vt::qtbus
