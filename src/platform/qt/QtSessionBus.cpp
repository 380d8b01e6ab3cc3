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

#include <algorithm>
#include <array>
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
constexpr std::size_t largestLine = std::size_t{64} * 1024 * 1024; // bytes

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

// Memory that it takes, about.
std::size_t contentBytes(const EventDescriptor& descriptor) {
    std::size_t sum = sizeof descriptor;
    if (const auto* bytes = descriptor.bytes()) sum += bytes->size();
    if (const auto* list = descriptor.list())
        for (const EventDescriptor& item : *list) sum += contentBytes(item);
    if (const auto* record = descriptor.record())
        for (const auto& [keyword, field] : *record) sum += contentBytes(field);
    return sum;
}

} // namespace

class QtSessionBus::Object final : public QDBusVirtualObject {
  public:
    explicit Object(BusService& service) : _service(service) {
        _turn.setInterval(0);
        QObject::connect(&_turn, &QTimer::timeout, this, [this] { serve(); });
        _busGone.setInterval(0);
        _busGone.setSingleShot(true);
        QObject::connect(&_busGone, &QTimer::timeout, this, [this] { _service.quit(); });
    }

    // The bus ends with the person's session; the next session starts an agent of its own, and two would work on one
    // drive without knowing of each other.
    void endWithTheBus(QDBusConnection& connection) {
        connection.connect({}, latin("/org/freedesktop/DBus/Local"), latin("org.freedesktop.DBus.Local"),
                           latin("Disconnected"), &_busGone, SLOT(start()));
        if (!connection.isConnected()) _busGone.start(); // it ended meanwhile, which nobody is told any more
    }

    // The whole introspection text is answered below; this is the part that QtDBus asks for on its own.
    QString introspect(const QString&) const override { return {}; }

    // What is asked of the agent stands in line here and is served a few at a time, so that a flood keeps neither the
    // main thread's timers and descriptors nor a signal that ends it waiting. The line is bounded in number and bytes.
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const QString interface = message.interface();
        if (interface == latin("org.freedesktop.DBus.Introspectable") && message.member() == latin("Introspect")) {
            qtbus::reply(message, connection, QVariant(latin(qtbus::introspectionXml)));
            return true;
        }
        if (asksForOurProperties(message)) {
            qtbus::reply(message, connection, QVariant(QVariantMap())); // there are none
            return true;
        }
        const Method* const method = methodOf(message);
        if (method == nullptr && !interface.startsWith(latin("com.corvane.vantaro."))) return false; // QtDBus answers
        if (method == nullptr)
            refuse(message, connection, QDBusError::UnknownMethod,
                   interface + latin(" has no method \"") + message.member() + latin("\""));
        else if (_line.size() >= longestLine || _bytesInLine >= largestLine)
            refuse(message, connection, QDBusError::LimitsExceeded, latin("the agent has too many requests to answer"));
        else if (message.signature() != latin(method->signature))
            refuse(message, connection, QDBusError::InvalidArgs,
                   message.member() + latin(" takes \"") + latin(method->signature) + latin("\", not \"") +
                       message.signature() + latin("\""));
        else
            standInLine(Request{message, connection, method});
        return true;
    }

  private:
    struct Request;
    struct Method {
        const char* interface;
        const char* name;
        const char* signature;
        void (Object::*serve)(const Request&);
    };
    struct Request {
        QDBusMessage message;
        QDBusConnection connection;
        const Method* method;
        EventDescriptor::Record parameters = {}; // of Send
        std::size_t size = 0;                    // bytes
    };

    // Proxies of other libraries ask for them first of all.
    static bool asksForOurProperties(const QDBusMessage& message) {
        if (message.interface() != latin("org.freedesktop.DBus.Properties") || message.member() != latin("GetAll") ||
            message.signature() != latin("s"))
            return false;
        const QString asked = message.arguments().at(0).toString();
        return asked == latin(qtbus::eventsInterface) || asked == latin(qtbus::drivesInterface) ||
               asked == latin(qtbus::notificationsInterface);
    }

    // A caller may leave the interface out: the name decides then.
    static const Method* methodOf(const QDBusMessage& message) {
        const QString interface = message.interface();
        const QString member = message.member();
        const auto found = std::find_if(methods.begin(), methods.end(), [&](const Method& method) {
            return member == latin(method.name) && (interface.isEmpty() || interface == latin(method.interface));
        });
        return found == methods.end() ? nullptr : &*found;
    }

    static void refuse(const QDBusMessage& message, const QDBusConnection& connection, QDBusError::ErrorType error,
                       const QString& text) {
        if (message.isReplyRequired()) connection.send(message.createErrorReply(error, text));
    }

    // Read at once, since only then its size is known.
    void standInLine(Request request) {
        if (request.method->serve == &Object::send) {
            auto parameters = qtdescriptors::fromBus(request.message.arguments().at(2));
            if (!parameters) {
                refuse(request.message, request.connection, QDBusError::InvalidArgs,
                       qtvalues::text(parameters.error().text));
                return;
            }
            request.parameters = std::move(*parameters);
            for (const auto& [keyword, descriptor] : request.parameters) request.size += contentBytes(descriptor);
        }
        for (const QVariant& argument : request.message.arguments()) // texts; others have none
            request.size += static_cast<std::size_t>(argument.toString().size()) * sizeof(QChar);
        if (_bytesInLine + request.size > largestLine) {
            refuse(request.message, request.connection, QDBusError::LimitsExceeded,
                   latin("the agent has too large requests to answer"));
            return;
        }
        _bytesInLine += request.size;
        _line.push_back(std::move(request));
        if (!_turn.isActive()) _turn.start();
    }

    void serve() {
        QElapsedTimer sinceTurn;
        sinceTurn.start();
        while (!_line.empty() && sinceTurn.elapsed() < longestTurn) {
            const Request request = std::move(_line.front());
            _line.pop_front();
            _bytesInLine -= request.size;
            try {
                (this->*request.method->serve)(request);
            } catch (const std::exception& exception) {
                if (request.message.isReplyRequired())
                    request.connection.send(
                        request.message.createErrorReply(qtbus::errorName("Failed"), latin(exception.what())));
            }
        }
        if (_line.empty()) _turn.stop();
    }

    static std::shared_ptr<QtBusReply> owed(const Request& request, QtBusReply::Missing missing) {
        return std::make_shared<QtBusReply>(request.message, request.connection, missing);
    }

    void list(const Request& request) {
        qtbus::reply(request.message, request.connection, dictionaries(_service.drives()));
    }
    void volumes(const Request& request) {
        qtbus::reply(request.message, request.connection, dictionaries(_service.volumes()));
    }
    void waiting(const Request& request) {
        qtbus::reply(request.message, request.connection, dictionaries(_service.waiting()));
    }
    void adopt(const Request& request) {
        _service.adopt(pathArgument(request.message),
                       [owed = owed(request, QtBusReply::Missing::noSuchFile)](const Result<Value::Dictionary>& drive) {
                           owed->answer(drive);
                       });
    }
    void forget(const Request& request) {
        _service.forget(pathArgument(request.message), [owed = owed(request, QtBusReply::Missing::notServed)](
                                                           const Result<void>& outcome) { owed->answer(outcome); });
    }
    void eject(const Request& request) {
        _service.eject(pathArgument(request.message), [owed = owed(request, QtBusReply::Missing::notServed)](
                                                          const Result<void>& outcome) { owed->answer(outcome); });
    }
    void progress(const Request& request) {
        _service.progress(pathArgument(request.message),
                          [owed = owed(request, QtBusReply::Missing::notServed)](
                              const Result<Value::Dictionary>& answer) { owed->answer(answer); });
    }
    void explain(const Request& request) {
        _service.explain(pathArgument(request.message), pathArgument(request.message, 1),
                         [owed = owed(request, QtBusReply::Missing::notServed)](
                             const Result<Value::Dictionary>& answer) { owed->answer(answer); });
    }

    void send(const Request& request) {
        const QVariantList arguments = request.message.arguments();
        const auto eventClass = FourCharCode::fromText(arguments.at(0).toString().toUtf8().toStdString());
        const auto eventId = FourCharCode::fromText(arguments.at(1).toString().toUtf8().toStdString());
        if (!eventClass || !eventId) {
            refuse(request.message, request.connection, QDBusError::InvalidArgs,
                   latin("an event class and an event ID have four bytes each"));
            return;
        }
        using namespace literals;
        if (*eventClass == "aevt"_fcc && *eventId == "quit"_fcc) { // the event that ends any application
            qtbus::reply(request.message, request.connection, qtdescriptors::toBus({}));
            _service.quit();
            return;
        }
        const bool wantsReply = request.message.isReplyRequired();
        const auto answer = _service.event(BusEvent{*eventClass, *eventId, request.parameters, wantsReply});
        if (answer)
            qtbus::reply(request.message, request.connection, qtdescriptors::toBus(*answer));
        else
            qtbus::replyError(request.message, request.connection, answer.error(), qtbus::errorNameFor(answer.error()));
    }

    static constexpr std::array<Method, 9> methods = {{
        {qtbus::eventsInterface, "Send", "ssa{s(sv)}", &Object::send},
        {qtbus::drivesInterface, "List", "", &Object::list},
        {qtbus::drivesInterface, "Volumes", "", &Object::volumes},
        {qtbus::drivesInterface, "Waiting", "", &Object::waiting},
        {qtbus::drivesInterface, "Adopt", "s", &Object::adopt},
        {qtbus::drivesInterface, "Forget", "s", &Object::forget},
        {qtbus::drivesInterface, "Progress", "s", &Object::progress},
        {qtbus::drivesInterface, "Eject", "s", &Object::eject},
        {qtbus::drivesInterface, "Explain", "ss", &Object::explain},
    }};

    BusService& _service;
    std::deque<Request> _line;
    std::size_t _bytesInLine = 0;
    QTimer _busGone;
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
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        _object->endWithTheBus(_connection);
        return {};
    }
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
