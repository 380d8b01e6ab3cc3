// An answer that is owed to a caller of the bus. Left unanswered, its destruction answers with an error, so that no
// caller waits in vain. Thread: main.
#pragma once

#include "base/Result.h"
#include "base/Value.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <cstdint>

namespace vt {

namespace qtbus {
// Sends the value, or its error under the name for its code, unless the caller wants no reply.
void reply(const QDBusMessage& call, const QDBusConnection& connection, const Result<QVariant>& value);
void replyError(const QDBusMessage& call, const QDBusConnection& connection, const Error& error, const QString& name);
} // namespace qtbus

class QtBusReply {
  public:
    // What ENOENT means for the call: the drive is not served, or the path does not exist.
    enum class Missing : std::uint8_t { notServed, noSuchFile };
    QtBusReply(const QDBusMessage& call, QDBusConnection connection, Missing missing);
    ~QtBusReply();
    QtBusReply(const QtBusReply&) = delete;
    QtBusReply& operator=(const QtBusReply&) = delete;

    // The first answer counts.
    void answer(const Result<Value::Dictionary>& dictionary);
    void answer(const Result<void>& outcome);

  private:
    void fail(const Error& error);
    QDBusMessage _call;
    QDBusConnection _connection;
    Missing _missing;
    bool _answered = false;
};

} // namespace vt
