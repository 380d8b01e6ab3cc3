#include "vantaroctl/Agent.h"

#include "vantaroctl/Failure.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace ctl {

namespace {

constexpr const char* service = "com.corvane.vantaro";
constexpr const char* object = "/com/corvane/vantaro";
constexpr const char* drivesInterface = "com.corvane.vantaro.Drives";
constexpr const char* eventsInterface = "com.corvane.vantaro.Events";
constexpr const char* notificationsInterface = "com.corvane.vantaro.Notifications";
constexpr const char* activityName = "com.corvane.vantaro.syncInProgress.notification.evt";
constexpr int patience = 60'000;       // milliseconds for one call
constexpr int ejectPatience = 150'000; // what is in memory may take its time to reach the drive

QJsonValue toJsonValue(const QVariant& variant) {
    if (variant.userType() == qMetaTypeId<QDBusArgument>()) {
        const auto argument = variant.value<QDBusArgument>();
        if (argument.currentType() == QDBusArgument::MapType) return toJson(qdbus_cast<QVariantMap>(argument));
        QJsonArray array;
        for (const QVariant& item : qdbus_cast<QVariantList>(argument)) array.append(toJsonValue(item));
        return array;
    }
    if (variant.userType() == qMetaTypeId<QDBusVariant>()) return toJsonValue(variant.value<QDBusVariant>().variant());
    switch (variant.typeId()) {
    case QMetaType::QStringList:
        return QJsonArray::fromStringList(variant.toStringList());
    case QMetaType::QVariantMap:
        return toJson(variant.toMap());
    case QMetaType::QVariantList: {
        QJsonArray array;
        for (const QVariant& item : variant.toList()) array.append(toJsonValue(item));
        return array;
    }
    // JSON numbers keep 53 bits; byte counts beyond 8 PiB do not occur.
    case QMetaType::ULongLong:
    case QMetaType::UInt:
        return static_cast<qint64>(variant.toULongLong());
    default:
        return QJsonValue::fromVariant(variant);
    }
}

// What the bus leaves out because it has no null.
QJsonObject completeDrive(QJsonObject drive) {
    for (const char* key : {"lastSyncTime", "serviceName"}) {
        if (!drive.contains(QLatin1String(key))) drive.insert(QLatin1String(key), QJsonValue::Null);
    }
    return drive;
}

} // namespace

QByteArray absolutePath(const QByteArray& path) {
    if (path.isEmpty()) throw Failure{usageError, "an empty path names nothing"};
    const QByteArray absolute = path.startsWith('/') ? path : QFile::encodeName(QDir::currentPath()) + "/" + path;
    QList<QByteArray> kept;
    for (const QByteArray& component : absolute.split('/')) {
        if (component.isEmpty() || component == ".") continue;
        if (component == "..") {
            if (!kept.isEmpty()) kept.removeLast();
        } else
            kept.append(component);
    }
    return "/" + kept.join('/');
}

QJsonObject toJson(const QVariantMap& map) {
    QJsonObject json;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) json.insert(entry.key(), toJsonValue(entry.value()));
    return json;
}

QString busText(const QByteArray& path) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder(path);
    if (decoder.hasError()) throw Failure{agentError, "the path is not valid UTF-8: " + QString::fromUtf8(path)};
    return text;
}

Agent::Agent() : _bus(QDBusConnection::sessionBus()) {
    registerDescriptorTypes();
    if (!_bus.isConnected()) throw Failure{noAgent, "there is no session bus"};
}

QVariantList Agent::call(const char* interface, const char* method, const QVariantList& arguments, int milliseconds) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, object, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage reply = _bus.call(message, QDBus::Block, milliseconds > 0 ? milliseconds : patience);
    if (reply.type() != QDBusMessage::ErrorMessage) return reply.arguments();
    const QString name = reply.errorName();
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown" || name == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
        name == "org.freedesktop.DBus.Error.Disconnected")
        throw Failure{noAgent, "the agent is not running"};
    // Also what the bus says for an agent that ended in the middle of a call.
    if (name == "org.freedesktop.DBus.Error.NoReply" && !isRunning()) throw Failure{noAgent, "the agent has ended"};
    if (name == "org.freedesktop.DBus.Error.NoReply" || name == "org.freedesktop.DBus.Error.Timeout")
        throw Failure{timedOut, "the agent did not answer"};
    throw Failure{agentError, reply.errorMessage()};
}

QJsonArray Agent::drives() {
    QJsonArray array;
    for (const QVariantMap& drive : qdbus_cast<QList<QVariantMap>>(call(drivesInterface, "List", {}).value(0)))
        array.append(completeDrive(toJson(drive)));
    return array;
}

QJsonArray Agent::volumes() {
    QJsonArray array;
    for (const QVariantMap& volume : qdbus_cast<QList<QVariantMap>>(call(drivesInterface, "Volumes", {}).value(0)))
        array.append(toJson(volume));
    return array;
}

QJsonObject Agent::adopt(const QByteArray& path) {
    return completeDrive(toJson(qdbus_cast<QVariantMap>(call(drivesInterface, "Adopt", {busText(path)}).value(0))));
}

void Agent::forget(const QByteArray& path) {
    call(drivesInterface, "Forget", {busText(path)});
}
void Agent::eject(const QByteArray& path) {
    call(drivesInterface, "Eject", {busText(path)}, ejectPatience);
}

QJsonObject Agent::explain(const QString& mountPoint, const QByteArray& path) {
    return toJson(qdbus_cast<QVariantMap>(call(drivesInterface, "Explain", {mountPoint, busText(path)}).value(0)));
}

QJsonObject Agent::progress(const QString& mountPoint) {
    return toJson(qdbus_cast<QVariantMap>(call(drivesInterface, "Progress", {mountPoint}).value(0)));
}

namespace {

WaitingChanges waitingOf(const QJsonObject& drive) {
    WaitingChanges changes{drive["mountPoint"].toString(), {}, drive["secondsLeft"].toDouble()};
    for (const QJsonValue folder : drive["folders"].toArray()) changes.folders.append(folder.toString());
    return changes;
}

} // namespace

QList<WaitingChanges> Agent::waiting() {
    QList<WaitingChanges> list;
    for (const QVariantMap& drive : qdbus_cast<QList<QVariantMap>>(call(drivesInterface, "Waiting", {}).value(0)))
        list.append(waitingOf(toJson(drive)));
    return list;
}

Record Agent::sendRaw(const QString& eventClass, const QString& eventId, const Record& parameters) {
    return qdbus_cast<Record>(
        call(eventsInterface, "Send", {eventClass, eventId, QVariant::fromValue(parameters)}).value(0));
}

Record Agent::send(const QByteArray& id, const QString& mountPoint, const Record& parameters) {
    Record all = parameters;
    all.insert("----", fileDescriptor(mountPoint.toUtf8()));
    Record reply = sendRaw("vnTR", QString::fromLatin1(id), all);
    if (reply.contains("errn") || reply.contains("errs"))
        throw Failure{agentError, QString::fromUtf8(reply.value("errs").bytes()), integerOf(reply.value("errn"))};
    return reply;
}

void Agent::quit() {
    call(eventsInterface, "Send", {QString("aevt"), QString("quit"), QVariant::fromValue(Record())});
}

bool Agent::isRunning() const {
    return _bus.isConnected() && _bus.interface()->isServiceRegistered(service).value();
}

QString Agent::resolve(const QByteArray& drive) {
    return resolve(drive, PathsBelow::name);
}
QString Agent::resolveExactly(const QByteArray& drive) {
    return resolve(drive, PathsBelow::doNotName);
}

QString Agent::resolve(const QByteArray& drive, PathsBelow below) {
    QStringList paths;
    if (!drive.isEmpty()) {
        paths.append(QString::fromUtf8(absolutePath(drive)));
        // A path may lead to the drive through links.
        if (const QString canonical = QFileInfo(paths.first()).canonicalFilePath(); !canonical.isEmpty())
            paths.append(canonical);
    }
    return driveMeant(QString::fromUtf8(drive), paths, drives(), below);
}

void Agent::follow() {
    _bus.connect(service, object, notificationsInterface, "Posted", this, SLOT(posted(QString, QString, QVariantMap)));
    _bus.connect("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", this,
                 SLOT(ownerChanged(QString, QString, QString)));
}

void Agent::followDrives() {
    _bus.connect(service, object, drivesInterface, "WaitingChanged", this,
                 SLOT(waitingChanged(QString, QStringList, double)));
    for (const char* const signal : {"Appeared", "Disappeared"})
        _bus.connect(service, object, drivesInterface, signal, this, SIGNAL(drivesChanged()));
}

void Agent::waitingChanged(const QString& mountPoint, const QStringList& folders, double secondsLeft) {
    emit changesWait({mountPoint, folders, secondsLeft});
}

void Agent::posted(const QString& name, const QString&, const QVariantMap& userInfo) {
    if (name == activityName) emit activity(toJson(userInfo));
}

void Agent::ownerChanged(const QString& name, const QString&, const QString& after) {
    if (name == service && after.isEmpty()) emit gone();
}

} // namespace ctl
