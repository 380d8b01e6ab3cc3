// The applications of this session as the bus knows them: each owns a name, its bundle identifier, and answers events
// at the object of that name ("/com/Talmont/PushkeyManager") through the interface com.corvane.vantaro.Events.
// Thread: main. Errors: without a bus nothing runs, nothing can be launched, and every sending fails.
#pragma once

#include "platform/Applications.h"
#include "platform/EventSender.h"

#include <QDBusConnection>

namespace vt {

class QtApplications final : public Applications, public EventSender {
  public:
    explicit QtApplications(QDBusConnection connection) : _connection(std::move(connection)) {}

    [[nodiscard]] std::vector<std::string> runningApplications() override;
    // By the bus's own activation, of a service file for that name.
    [[nodiscard]] bool launch(const std::string& bundleIdentifier, LaunchOptions options) override;
    // Nothing is started for it. What the application asks of this process before it replies is served meanwhile.
    // The status is 0, or an errno value: EINVAL for what cannot be sent, ENOTCONN without bus or application,
    // ETIMEDOUT, or EIO for an error of the bus or of the application.
    SentEvent send(const OutgoingEvent& event, SendMode mode) override;

  private:
    QDBusConnection _connection;
};

} // namespace vt
