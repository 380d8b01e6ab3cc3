#include "platform/qt/QtNotifications.h"

#include "base/LogSink.h"
#include "platform/qt/QtConnection.h"
#include "platform/qt/QtSignalReceiver.h"
#include "platform/qt/QtValues.h"

#include <QDBusMessage>

#include <utility>

namespace vt {

class QtNotifications::Receiver final : public QtSignalReceiver {
  public:
    Receiver(QDBusConnection connection, std::shared_ptr<NotificationObservers> observers)
        : _connection(std::move(connection)), _observers(std::move(observers)) {
        if (!_connection.isConnected()) return;
        _connection.connect(QString(), QString::fromLatin1(qtbus::objectPath),
                            QString::fromLatin1(qtbus::notificationsInterface), QStringLiteral("Posted"), this,
                            SLOT(received(QDBusMessage)));
    }
    void received(const QDBusMessage& message) override {
        if (message.service() == _connection.baseService()) return; // delivered when it was posted
        if (message.signature() != QLatin1String("ssa{sv}")) return;
        const QVariantList arguments = message.arguments();
        const auto userInfo = qtvalues::fromBus(arguments.at(2));
        if (!userInfo) {
            systemLog("a notification from " + message.service().toStdString() +
                      " was dropped: " + userInfo.error().text);
            return;
        }
        _observers->deliver(arguments.at(0).toString().toStdString(), arguments.at(1).toString().toStdString(),
                            *userInfo);
    }

  private:
    QDBusConnection _connection;
    std::shared_ptr<NotificationObservers> _observers;
};

QtNotifications::QtNotifications(RunLoop& runLoop, QDBusConnection connection)
    : _runLoop(runLoop), _connection(std::move(connection)), _observers(std::make_shared<NotificationObservers>()),
      _receiver(std::make_unique<Receiver>(_connection, _observers)) {}

QtNotifications::~QtNotifications() = default;

void QtNotifications::post(const std::string& name, const std::string& object,
                           const std::optional<Value::Dictionary>& userInfo, DeliveryOptions) {
    const Value::Dictionary content = userInfo.value_or(Value::Dictionary{});
    _runLoop.performLater([observers = std::weak_ptr(_observers), name, object, content] {
        if (const auto alive = observers.lock()) alive->deliver(name, object, content);
    });
    if (!_connection.isConnected()) return;
    const auto map = qtvalues::toBus(content);
    if (!map) {
        systemLog("the notification " + name + " stays in the process: " + map.error().text);
        return;
    }
    QDBusMessage signal =
        QDBusMessage::createSignal(QString::fromLatin1(qtbus::objectPath),
                                   QString::fromLatin1(qtbus::notificationsInterface), QStringLiteral("Posted"));
    signal << qtvalues::text(name) << qtvalues::text(object) << *map;
    _connection.send(signal);
}

std::unique_ptr<Notifications::Observation> QtNotifications::observe(const std::string& name, const std::string& object,
                                                                     Handler handler) {
    return _observers->add(name, object, std::move(handler));
}

} // namespace vt
