// The agent's log file, read from outside. Errors: a log that is not there reads as empty.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ctl {

class AgentLog {
  public:
    AgentLog();

    [[nodiscard]] const QString& path() const { return _path; }
    // What was added since the last call; the whole log when it was dropped or cleared meanwhile.
    [[nodiscard]] QByteArray readNew();
    void skipToEnd() { (void)readNew(); }
    // The lines added since then, without their time stamps.
    [[nodiscard]] QStringList messagesSince();

  private:
    QString _path;
    qint64 _offset = 0;
};

} // namespace ctl
