#include "vantaroctl/AgentLog.h"

#include "vantaroctl/UserFolders.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace ctl {

AgentLog::AgentLog() : _path(homeFolder() + "/Library/Logs/Vantaro.log") {}

QByteArray AgentLog::readNew() {
    if (!QFileInfo(_path).isFile()) return {}; // a pipe in its place would be waited for
    QFile file(_path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    if (file.size() < _offset) _offset = 0;
    file.seek(_offset);
    QByteArray bytes = file.readAll();
    _offset += bytes.size();
    return bytes;
}

QStringList AgentLog::messagesSince() {
    static const QRegularExpression stamp(R"(^\d{4}/\d\d/\d\d \d\d:\d\d:\d\d )");
    QStringList lines = QString::fromUtf8(readNew()).split('\n', Qt::SkipEmptyParts);
    for (QString& line : lines) line.remove(stamp);
    return lines;
}

} // namespace ctl
