#include "vantaroctl/Commands.h"
#include "vantaroctl/StatusArchive.h"
#include "vantaroctl/Terminal.h"

namespace ctl {

int showStatus(const CommandLine& line) {
    Agent agent;
    const Record reply = agent.send("INFO", agent.resolve(line.arguments[0]));
    const QJsonObject users = reply.contains("STAT") ? decodeStatus(reply.value("STAT").bytes()) : QJsonObject();
    if (line.json) {
        printJson(users);
        return 0;
    }
    if (users.isEmpty()) printLine("No user has joined this drive.");
    for (auto user = users.begin(); user != users.end(); ++user) {
        const QJsonObject entry = user.value().toObject();
        const QString time = entry["lastSyncTime"].toString();
        const QString lastSync = time.isEmpty() ? "never" : time.left(16).replace('T', ' ') + " UTC";
        // Another computer may have written any name.
        printLine(shown(QString("%1  %2").arg(user.key(), entry["computerName"].toString())));
        printLine(QString("  participating %1, continuous %2, last sync %3")
                      .arg(entry["participateSyncEnabled"].toBool() ? "on" : "off",
                           entry["continuousSyncEnabled"].toBool() ? "on" : "off", lastSync));
    }
    return 0;
}

} // namespace ctl
