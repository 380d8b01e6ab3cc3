// A private bus with two connections: the agent's and a caller's.
#pragma once

#include "platform/qt/QtConnection.h"
#include "platform/qt/QtRunLoop.h"
#include "support/PrivateBus.h"
#include "support/QtApplication.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>

#include <string>

namespace vt::test {

class BusGround {
  public:
    BusGround() : application(qtApplication()) {
        static int number = 0;
        const QString address = QString::fromStdString(bus.address());
        agentName = QStringLiteral("agent-%1").arg(++number);
        callerName = QStringLiteral("caller-%1").arg(number);
        agent = qtbus::openBusAt(address, agentName);
        caller = qtbus::openBusAt(address, callerName);
    }
    ~BusGround() {
        QDBusConnection::disconnectFromBus(agentName);
        QDBusConnection::disconnectFromBus(callerName);
    }
    BusGround(const BusGround&) = delete;
    BusGround& operator=(const BusGround&) = delete;

    // The reply or error to a call of the agent's object; both ends live on this thread.
    QDBusMessage call(const char* interface, const char* member, const QVariantList& arguments) {
        return send(caller, interface, member, arguments);
    }
    static QDBusMessage send(const QDBusConnection& from, const char* interface, const char* member,
                             const QVariantList& arguments) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(QString::fromLatin1(qtbus::busName), QString::fromLatin1(qtbus::objectPath),
                                           QString::fromLatin1(interface), QString::fromLatin1(member));
        message.setArguments(arguments);
        QDBusPendingCall pending = from.asyncCall(message, 120'000); // the usual 25 s are short on a busy computer
        qtRunUntil([&] { return pending.isFinished(); });
        return pending.reply();
    }

    QCoreApplication& application;
    QtRunLoop loop;
    PrivateBus bus;
    QString agentName;
    QString callerName;
    QDBusConnection agent{QString()};
    QDBusConnection caller{QString()};
};

} // namespace vt::test
