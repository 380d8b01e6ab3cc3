// Distributed notifications over the session bus: the signal Posted of interface com.corvane.vantaro.Notifications.
// Observers in this process hear its own posts with or without a bus, and those of the session's other processes.
// Thread: main. Every delivery comes from the run loop, never inside post().
// Errors: a user info that the bus cannot carry stays in the process, with a line in the system log.
#pragma once

#include "platform/NotificationObservers.h"
#include "platform/RunLoop.h"

#include <QDBusConnection>

#include <memory>

namespace vt {

class QtNotifications final : public Notifications {
  public:
    QtNotifications(RunLoop& runLoop, QDBusConnection connection);
    ~QtNotifications() override;

    void post(const std::string& name, const std::string& object, const std::optional<Value::Dictionary>& userInfo,
              DeliveryOptions options) override;
    // An empty name or object stands for any.
    [[nodiscard]] std::unique_ptr<Observation> observe(const std::string& name, const std::string& object,
                                                       Handler handler) override;

  private:
    class Receiver;
    RunLoop& _runLoop;
    QDBusConnection _connection;
    std::shared_ptr<NotificationObservers> _observers;
    std::unique_ptr<Receiver> _receiver;
};

} // namespace vt
