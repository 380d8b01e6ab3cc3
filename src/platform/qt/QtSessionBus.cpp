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
#include <QElapsedTimer>
#include <QTimer>

#include <cerrno>
#include <deque>
#include <exception>
#include <string>
#include <utility>

namespace vt {

namespace {

constexpr int patienceAtTheEnd = 1'000; // milliseconds
constexpr qint64 longestTurn = 5;       // milliseconds of answering before the run loop looks at everything else
constexpr std::size_t longestLine = 10'000;

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
    explicit Object(BusService& service) : _service(service) {
        _turn.setInterval(0);
        QObject::connect(&_turn, &QTimer::timeout, this, [this] { serve(); });
    }

    // The whole introspection text is answered below; this is the part that QtDBus asks for on its own.
    QString introspect(const QString&) const override { return {}; }

    // What is asked of the agent stands in line here and is served a few at a time, so that a flood keeps neither the
    // main thread's timers and descriptors nor a signal that ends it waiting. The bus library holds a sender back once
    // too many bytes stand in line; this holds for their number.
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const QString interface = message.interface();
        const QString member = message.member();
        if (interface == latin("org.freedesktop.DBus.Introspectable") && member == latin("Introspect")) {
            qtbus::reply(message, connection, QVariant(latin(qtbus::introspectionXml)));
            return true;
        }
        const bool isOurs =
            interface.isEmpty() ? isMember(member) : interface.startsWith(latin("com.corvane.vantaro."));
        if (!isOurs) return false; // QtDBus answers for the standard interfaces
        if (_line.size() >= longestLine) {
            if (message.isReplyRequired())
                connection.send(message.createErrorReply(QDBusError::LimitsExceeded,
                                                         latin("the agent has too many requests to answer")));
            return true;
        }
        _line.push_back({message, connection});
        if (!_turn.isActive()) _turn.start();
        return true;
    }

  private:
    struct Request {
        QDBusMessage message;
        QDBusConnection connection;
    };

    void serve() {
        QElapsedTimer sinceTurn;
        sinceTurn.start();
        while (!_line.empty() && sinceTurn.elapsed() < longestTurn) {
            const Request request = std::move(_line.front());
            _line.pop_front();
            try {
                handle(request.message, request.connection);
            } catch (const std::exception& exception) {
                if (request.message.isReplyRequired())
                    request.connection.send(
                        request.message.createErrorReply(qtbus::errorName("Failed"), latin(exception.what())));
            }
        }
        if (_line.empty()) _turn.stop();
    }

    static bool isMember(const QString& member) {
        for (const char* const own :
             {"Send", "List", "Volumes", "Waiting", "Adopt", "Forget", "Progress", "Eject", "Explain"})
            if (member == latin(own)) return true;
        return false;
    }

    void handle(const QDBusMessage& message, const QDBusConnection& connection) {
        const QString interface = message.interface();
        const QString member = message.member();
        // A caller may leave the interface out: the member decides then.
        const bool events = interface.isEmpty() || interface == latin(qtbus::eventsInterface);
        const bool drives = interface.isEmpty() || interface == latin(qtbus::drivesInterface);
        if (events && member == latin("Send")) {
            if (hasSignature(message, connection, "ssa{s(sv)}")) send(message, connection);
        } else if (drives && (member == latin("List") || member == latin("Volumes") || member == latin("Waiting"))) {
            if (hasSignature(message, connection, "")) qtbus::reply(message, connection, dictionaries(listed(member)));
        } else if (drives && (member == latin("Adopt") || member == latin("Forget") || member == latin("Progress") ||
                              member == latin("Eject"))) {
            if (hasSignature(message, connection, "s")) onPath(member, message, connection);
        } else if (drives && member == latin("Explain")) {
            if (hasSignature(message, connection, "ss")) explain(message, connection);
        } else if (message.isReplyRequired()) {
            connection.send(message.createErrorReply(QDBusError::UnknownMethod,
                                                     interface + latin(" has no method \"") + member + latin("\"")));
        }
    }

    std::vector<Value::Dictionary> listed(const QString& member) {
        if (member == latin("List")) return _service.drives();
        return member == latin("Volumes") ? _service.volumes() : _service.waiting();
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
    std::deque<Request> _line;
    QTimer _turn; // fires at each turn of the run loop while somebody stands in line
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
    emitSignal("Appeared", {qtvalues::text(mountPoint)});
}

void QtSessionBus::driveDisappeared(const std::string& mountPoint) {
    emitSignal("Disappeared", {qtvalues::text(mountPoint)});
}

void QtSessionBus::changesWait(const DriveWaiting& drive) {
    QStringList folders;
    for (const std::string& folder : drive.folders) folders.append(qtvalues::text(folder));
    emitSignal("WaitingChanged", {qtvalues::text(drive.mountPoint), folders, drive.secondsLeft});
}

void QtSessionBus::emitSignal(const char* member, const QVariantList& arguments) {
    if (!_object) return;
    QDBusMessage signal =
        QDBusMessage::createSignal(latin(qtbus::objectPath), latin(qtbus::drivesInterface), latin(member));
    signal.setArguments(arguments);
    _connection.send(signal);
}

void QtSessionBus::releaseName() {
    QDBusMessage release = QDBusMessage::createMethodCall(latin("org.freedesktop.DBus"), latin("/org/freedesktop/DBus"),
                                                          latin("org.freedesktop.DBus"), latin("ReleaseName"));
    release << latin(qtbus::busName);
    // Whatever others have asked meanwhile stands before the answer, and the end does not wait for it.
    _connection.call(release, QDBus::Block, patienceAtTheEnd);
}

void QtSessionBus::stop() {
    if (!_object) return;
    if (_connection.isConnected()) {
        releaseName();
        _connection.unregisterObject(latin(qtbus::objectPath));
    }
    _object.reset();
}

} // namespace vt
