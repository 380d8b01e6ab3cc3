// The agent on the session bus: the name com.corvane.vantaro and the object /com/corvane/vantaro.
// Thread: main.
// Owns: the exported object while started; the service is the caller's and must stay until stop().
#pragma once

#include "platform/SessionBus.h"

#include <QDBusConnection>

#include <memory>

namespace vt {

class QtSessionBus final : public SessionBus {
  public:
    explicit QtSessionBus(QDBusConnection connection);
    ~QtSessionBus() override;

    [[nodiscard]] Result<void> start(BusService& service) override;
    void driveAppeared(const std::string& mountPoint) override;
    void driveDisappeared(const std::string& mountPoint) override;
    void changesWait(const DriveWaiting& drive) override;
    void stop() override;

  private:
    void releaseName();
    void emitSignal(const char* member, const QVariantList& arguments);
    class Object;
    QDBusConnection _connection;
    std::unique_ptr<Object> _object;
};

} // namespace vt
