// An object that QtDBus can deliver a signal to. Thread: main.
#pragma once

#include <QDBusMessage>
#include <QObject>

namespace vt {

class QtSignalReceiver : public QObject {
    Q_OBJECT
  public Q_SLOTS:
    virtual void received(const QDBusMessage& message) = 0;
};

} // namespace vt
