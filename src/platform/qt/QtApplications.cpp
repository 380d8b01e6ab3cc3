#include "platform/qt/QtApplications.h"

#include "platform/qt/QtConnection.h"
#include "platform/qt/QtDescriptors.h"
#include "platform/qt/QtValues.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

#include <cerrno>

namespace vt {

namespace {

using namespace literals;

constexpr FourCharCode typeApplicationBundleID = "bund"_fcc;
constexpr int usualTimeOut = -1; // of the bus library

int errorOf(const QDBusMessage& reply) {
    if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) return ENOTCONN;
    switch (QDBusError(reply).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
        return ENOTCONN;
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return ETIMEDOUT;
    default:
        return EIO;
    }
}

} // namespace

std::vector<std::string> QtApplications::runningApplications() {
    std::vector<std::string> names;
    if (!_connection.isConnected()) return names;
    const QStringList registered = _connection.interface()->registeredServiceNames();
    for (const QString& name : registered)
        if (!name.startsWith(QLatin1Char(':'))) names.push_back(name.toStdString()); // those are connections
    return names;
}

bool QtApplications::launch(const std::string& bundleIdentifier, LaunchOptions options) {
    if (!_connection.isConnected()) return false;
    const QString name = QString::fromStdString(bundleIdentifier);
    const QStringList known = _connection.interface()->activatableServiceNames();
    if (!known.contains(name)) return false;
    if ((options & launchAsync) == 0) return _connection.interface()->startService(name).isValid();
    QDBusMessage start =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
    start << name << 0U;
    return _connection.send(start);
}

SentEvent QtApplications::send(const OutgoingEvent& event, SendMode mode) {
    if (!_connection.isConnected()) return {ENOTCONN, std::nullopt};
    const std::string* identifier = event.target.bytes();
    const auto parameters = qtdescriptors::toBus(event.parameters);
    if (event.target.type() != typeApplicationBundleID || identifier == nullptr || !parameters)
        return {EINVAL, std::nullopt};
    qtdescriptors::registerTypes();
    const QString name = QString::fromStdString(*identifier);
    QDBusMessage message = QDBusMessage::createMethodCall(
        name, QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/')),
        QString::fromLatin1(qtbus::eventsInterface), QStringLiteral("Send"));
    message.setAutoStartService(false);
    message << qtvalues::text(event.eventClass.text()) << qtvalues::text(event.eventId.text()) << *parameters;
    if (mode != waitReply) return {_connection.send(message) ? 0 : ENOTCONN, std::nullopt};
    const QDBusMessage reply = _connection.call(message, QDBus::BlockWithGui, usualTimeOut);
    if (reply.type() != QDBusMessage::ReplyMessage) return {errorOf(reply), std::nullopt};
    auto record = qtdescriptors::fromBus(reply.arguments().value(0));
    if (!record) return {EIO, std::nullopt};
    return {0, std::move(*record)};
}

} // namespace vt
