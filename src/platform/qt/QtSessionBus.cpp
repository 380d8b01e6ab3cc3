#include "platform/qt/QtSessionBus.h"

#include "platform/qt/QtBusErrors.h"
#include "platform/qt/QtBusReply.h"
#include "platform/qt/QtConnection.h"
#include "platform/qt/QtDescriptors.h"
#include "platform/qt/QtIntrospection.h"
#include "platform/qt/QtValues.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>

#include <cerrno>
#include <exception>
#include <string>
#include <utility>

namespace vt {

namespace {

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

std::string pathArgument(const QDBusMessage& message, qsizetype index = 0) {
    return message.arguments().value(index).toString().toUtf8().toStdString();
}

// An array of dictionaries as aa{sv}.
Result<QVariant> dictionaries(const std::vector<Value::Dictionary>& items) {
    QList<QVariantMap> list;
    for (const Value::Dictionary& item : items) {
        auto map = qtvalues::toBus(item);
        if (!map) return map.error();
        list.append(*map);
    }
    return QVariant::fromValue(list);
}

} // namespace

class QtSessionBus::Object final : public QDBusVirtualObject {
  public:
    explicit Object(BusService& service) : _service(service) {}

    // The whole introspection text is answered below; this is the part that QtDBus asks for on its own.
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        try {
            return handle(message, connection);
        } catch (const std::exception& exception) {
            if (message.isReplyRequired())
                connection.send(message.createErrorReply(qtbus::errorName("Failed"), latin(exception.what())));
            return true;
        }
    }

  private:
    bool handle(const QDBusMessage& message, const QDBusConnection& connection) {
        const QString interface = message.interface();
        const QString member = message.member();
        if (interface == latin("org.freedesktop.DBus.Introspectable") && member == latin("Introspect")) {
            qtbus::reply(message, connection, QVariant(latin(qtbus::introspectionXml)));
            return true;
        }
        // A caller may leave the interface out: the member decides then.
        const bool events = interface.isEmpty() || interface == latin(qtbus::eventsInterface);
        const bool drives = interface.isEmpty() || interface == latin(qtbus::drivesInterface);
        if (events && member == latin("Send")) {
            if (hasSignature(message, connection, "ssa{s(sv)}")) send(message, connection);
        } else if (drives && (member == latin("List") || member == latin("Volumes"))) {
            if (hasSignature(message, connection, ""))
                qtbus::reply(message, connection,
                             dictionaries(member == latin("List") ? _service.drives() : _service.volumes()));
        } else if (drives && (member == latin("Adopt") || member == latin("Forget") || member == latin("Progress") ||
                              member == latin("Eject"))) {
            if (hasSignature(message, connection, "s")) onPath(member, message, connection);
        } else if (drives && member == latin("Explain")) {
            if (hasSignature(message, connection, "ss")) explain(message, connection);
        } else if (interface.startsWith(latin("com.corvane.vantaro."))) {
            connection.send(message.createErrorReply(QDBusError::UnknownMethod,
                                                     interface + latin(" has no method \"") + member + latin("\"")));
        } else {
            return false; // QtDBus answers for the standard interfaces
        }
        return true;
    }

    static void invalidArguments(const QDBusMessage& message, const QDBusConnection& connection, const QString& text) {
        if (message.isReplyRequired()) connection.send(message.createErrorReply(QDBusError::InvalidArgs, text));
    }

    static bool hasSignature(const QDBusMessage& message, const QDBusConnection& connection, const char* signature) {
        if (message.signature() == latin(signature)) return true;
        invalidArguments(message, connection,
                         message.member() + latin(" takes \"") + latin(signature) + latin("\", not \"") +
                             message.signature() + latin("\""));
        return false;
    }

    void onPath(const QString& member, const QDBusMessage& message, const QDBusConnection& connection) {
        const std::string path = pathArgument(message);
        if (member == latin("Adopt")) {
            auto owed = std::make_shared<QtBusReply>(message, connection, QtBusReply::Missing::noSuchFile);
            _service.adopt(path, [owed](const Result<Value::Dictionary>& drive) { owed->answer(drive); });
        } else if (member == latin("Forget")) {
            auto owed = std::make_shared<QtBusReply>(message, connection, QtBusReply::Missing::notServed);
            _service.forget(path, [owed](const Result<void>& outcome) { owed->answer(outcome); });
        } else if (member == latin("Eject")) {
            auto owed = std::make_shared<QtBusReply>(message, connection, QtBusReply::Missing::notServed);
            _service.eject(path, [owed](const Result<void>& outcome) { owed->answer(outcome); });
        } else {
            auto owed = std::make_shared<QtBusReply>(message, connection, QtBusReply::Missing::notServed);
            _service.progress(path, [owed](const Result<Value::Dictionary>& answer) { owed->answer(answer); });
        }
    }

    void explain(const QDBusMessage& message, const QDBusConnection& connection) {
        auto owed = std::make_shared<QtBusReply>(message, connection, QtBusReply::Missing::notServed);
        _service.explain(pathArgument(message), pathArgument(message, 1),
                         [owed](const Result<Value::Dictionary>& answer) { owed->answer(answer); });
    }

    void send(const QDBusMessage& message, const QDBusConnection& connection) {
        const QVariantList arguments = message.arguments();
        const auto eventClass = FourCharCode::fromText(arguments.at(0).toString().toUtf8().toStdString());
        const auto eventId = FourCharCode::fromText(arguments.at(1).toString().toUtf8().toStdString());
        auto parameters = qtdescriptors::fromBus(arguments.at(2));
        if (!eventClass || !eventId || !parameters) {
            const std::string text =
                parameters ? "an event class and an event ID have four bytes each" : parameters.error().text;
            invalidArguments(message, connection, qtvalues::text(text));
            return;
        }
        const bool wantsReply = message.isReplyRequired();
        using namespace literals;
        if (*eventClass == "aevt"_fcc && *eventId == "quit"_fcc) { // the event that ends any application
            qtbus::reply(message, connection, qtdescriptors::toBus({}));
            _service.quit();
            return;
        }
        const auto answer = _service.event(BusEvent{*eventClass, *eventId, std::move(*parameters), wantsReply});
        if (answer)
            qtbus::reply(message, connection, qtdescriptors::toBus(*answer));
        else
            qtbus::replyError(message, connection, answer.error(), qtbus::errorNameFor(answer.error()));
    }

    BusService& _service;
};

QtSessionBus::QtSessionBus(QDBusConnection connection) : _connection(std::move(connection)) {}

QtSessionBus::~QtSessionBus() {
    stop();
}

Result<void> QtSessionBus::start(BusService& service) {
    if (!_connection.isConnected()) return Error{ENOTCONN, Disposition::goOn, {}, "there is no session bus"};
    qtdescriptors::registerTypes();
    qDBusRegisterMetaType<QList<QVariantMap>>();
    stop();
    // The object stands before the name is taken: whoever sees the name can call at once.
    _object = std::make_unique<Object>(service);
    if (!_connection.registerVirtualObject(latin(qtbus::objectPath), _object.get())) {
        _object.reset();
        return Error{EADDRINUSE, Disposition::goOn, qtbus::objectPath, "the object path is taken"};
    }
    const auto reply =
        _connection.interface()->registerService(latin(qtbus::busName), QDBusConnectionInterface::DontQueueService,
                                                 QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) return {};
    stop();
    if (reply.isValid())
        return Error{
            EEXIST, Disposition::goOn, {}, std::string("the name ") + qtbus::busName + " is owned by another process"};
    return Error{EIO, Disposition::goOn, {}, reply.error().message().toStdString()};
}

void QtSessionBus::driveAppeared(const std::string& mountPoint) {
    emitSignal("Appeared", mountPoint);
}

void QtSessionBus::driveDisappeared(const std::string& mountPoint) {
    emitSignal("Disappeared", mountPoint);
}

void QtSessionBus::emitSignal(const char* member, const std::string& mountPoint) {
    if (!_object) return;
    QDBusMessage signal =
        QDBusMessage::createSignal(latin(qtbus::objectPath), latin(qtbus::drivesInterface), latin(member));
    signal << qtvalues::text(mountPoint);
    _connection.send(signal);
}

void QtSessionBus::stop() {
    if (!_object) return;
    if (_connection.isConnected()) {
        _connection.interface()->unregisterService(latin(qtbus::busName));
        _connection.unregisterObject(latin(qtbus::objectPath));
    }
    _object.reset();
}

} // namespace vt
