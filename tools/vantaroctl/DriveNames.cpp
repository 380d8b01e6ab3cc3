#include "vantaroctl/DriveNames.h"

#include "vantaroctl/Failure.h"

namespace ctl {

namespace {

QString deepestAbove(const QString& path, const QJsonArray& served) {
    QString deepest;
    for (const QJsonValue drive : served) {
        const QString mountPoint = drive["mountPoint"].toString();
        if ((path == mountPoint || path.startsWith(mountPoint + "/")) && mountPoint.size() > deepest.size())
            deepest = mountPoint;
    }
    return deepest;
}

QString byPath(const QStringList& paths, const QJsonArray& served) {
    for (const QString& path : paths)
        if (QString mountPoint = deepestAbove(path, served); !mountPoint.isEmpty()) return mountPoint;
    return {};
}

QString byMountPoint(const QStringList& paths, const QJsonArray& served) {
    for (const QString& path : paths)
        if (deepestAbove(path, served) == path) return path;
    return {};
}

QString byName(const QString& name, const QJsonArray& served) {
    QStringList named;
    for (const QJsonValue drive : served)
        if (drive["name"].toString() == name) named.append(drive["mountPoint"].toString());
    if (named.size() > 1)
        throw Failure{agentError, QString("several drives are named \"%1\": %2").arg(name, named.join(", "))};
    return named.value(0);
}

} // namespace

QString driveMeant(const QString& word, const QStringList& paths, const QJsonArray& served, PathsBelow below) {
    // Whoever stands in a folder of one drive and names another means the other: a bare word is a path below a drive
    // only where no drive has that name.
    const bool mayBeBelow = below == PathsBelow::name;
    const bool isPath = word.contains('/');
    QString mountPoint = byMountPoint(paths, served);
    if (mountPoint.isEmpty() && isPath && mayBeBelow) mountPoint = byPath(paths, served);
    if (mountPoint.isEmpty()) mountPoint = byName(word, served);
    if (mountPoint.isEmpty() && !isPath && mayBeBelow) mountPoint = byPath(paths, served);
    if (mountPoint.isEmpty()) throw Failure{agentError, QString("\"%1\" is not a served drive").arg(word)};
    return mountPoint;
}

} // namespace ctl
