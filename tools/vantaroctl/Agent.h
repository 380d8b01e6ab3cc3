// The agent as this program sees it: its objects on the session bus. Every failure is a Failure with its exit code.
#pragma once

#include "vantaroctl/Descriptor.h"
#include "vantaroctl/DriveNames.h"
#include "vantaroctl/WatchPicture.h"

#include <QDBusConnection>
#include <QJsonArray>
#include <QJsonObject>
#include <QObject>

#include <functional>

namespace ctl {

class Agent : public QObject {
    Q_OBJECT

  public:
    Agent();

    // Drives and volumes as the promised JSON objects.
    [[nodiscard]] QJsonArray drives();
    [[nodiscard]] QJsonArray volumes();
    [[nodiscard]] QJsonObject adopt(const QByteArray& path);
    void forget(const QByteArray& path);
    void eject(const QByteArray& path);
    // What the drive's media filter says about a file, with its reasons.
    [[nodiscard]] QJsonObject explain(const QString& mountPoint, const QByteArray& path);
    [[nodiscard]] QJsonObject progress(const QString& mountPoint);
    [[nodiscard]] QList<WaitingChanges> waiting(); // the drives that changes wait for

    // Sends one event about a drive; an error in the reply is a Failure.
    Record send(const QByteArray& id, const QString& mountPoint, const Record& parameters = {});
    // Sends any event; the reply as it stands.
    [[nodiscard]] Record sendRaw(const QString& eventClass, const QString& eventId, const Record& parameters);
    void quit();

    // A mount point, a path below one, or the only drive of that name (which goes before a bare word's path below one):
    // its mount point.
    [[nodiscard]] QString resolve(const QByteArray& drive);
    // The same without paths below one: for what must not meet another drive than the one that was meant.
    [[nodiscard]] QString resolveExactly(const QByteArray& drive);
    [[nodiscard]] bool isRunning() const;

    // Activity notifications and the end of the agent, from now on.
    void follow();
    // Changes that wait, and drives that come and go, from now on.
    void followDrives();

  signals:
    void activity(const QJsonObject& progress);
    void changesWait(const WaitingChanges& changes);
    void drivesChanged();
    void gone();

  private slots:
    void posted(const QString& name, const QString& object, const QVariantMap& userInfo);
    void waitingChanged(const QString& mountPoint, const QStringList& folders, double secondsLeft);
    void ownerChanged(const QString& name, const QString& before, const QString& after);

  private:
    [[nodiscard]] QString resolve(const QByteArray& drive, PathsBelow below);
    // 0: as patient as with any call.
    QVariantList call(const char* interface, const char* method, const QVariantList& arguments, int milliseconds = 0);
    QDBusConnection _bus;
};

// Absolute, without ".", ".." and "//"; relative paths start at the current folder. An empty path is a Failure.
[[nodiscard]] QByteArray absolutePath(const QByteArray& path);
[[nodiscard]] QJsonObject toJson(const QVariantMap& map);
// Only valid UTF-8 can name something on the bus.
[[nodiscard]] QString busText(const QByteArray& path);

} // namespace ctl
