#include "platform/qt/QtBusReply.h"

#include "platform/qt/QtBusErrors.h"
#include "platform/qt/QtValues.h"

#include <cerrno>
#include <utility>

namespace vt {

namespace qtbus {

void reply(const QDBusMessage& call, const QDBusConnection& connection, const Result<QVariant>& value) {
    if (!value) {
        replyError(call, connection, value.error(), errorNameFor(value.error()));
    } else if (call.isReplyRequired()) {
        connection.send(call.createReply(*value));
    }
}

void replyError(const QDBusMessage& call, const QDBusConnection& connection, const Error& error, const QString& name) {
    if (call.isReplyRequired()) connection.send(call.createErrorReply(name, qtvalues::text(error.text)));
}

} // namespace qtbus

QtBusReply::QtBusReply(const QDBusMessage& call, QDBusConnection connection, Missing missing)
    : _call(call), _connection(std::move(connection)), _missing(missing) {}

QtBusReply::~QtBusReply() {
    if (!_answered) fail(Error{ECANCELED, Disposition::goOn, {}, "the request was dropped"});
}

void QtBusReply::answer(const Result<Value::Dictionary>& dictionary) {
    if (!dictionary) return fail(dictionary.error());
    auto map = qtvalues::toBus(*dictionary);
    if (!map) return fail(map.error());
    if (std::exchange(_answered, true)) return;
    qtbus::reply(_call, _connection, QVariant(*map));
}

void QtBusReply::answer(const Result<void>& outcome) {
    if (!outcome) return fail(outcome.error());
    if (std::exchange(_answered, true)) return;
    if (_call.isReplyRequired()) _connection.send(_call.createReply());
}

void QtBusReply::fail(const Error& error) {
    if (std::exchange(_answered, true)) return;
    const bool noSuchFile = error.code == ENOENT && _missing == Missing::noSuchFile;
    qtbus::replyError(_call, _connection, error,
                      noSuchFile ? qtbus::errorName("NoSuchFile") : qtbus::errorNameFor(error));
}

} // namespace vt
