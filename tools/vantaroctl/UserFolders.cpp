#include "vantaroctl/UserFolders.h"

#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace ctl {

QString homeFolder() {
    const QByteArray home = qgetenv("HOME");
    if (home.startsWith('/')) return QFile::decodeName(home);
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? QFile::decodeName(user->pw_dir) : QString("/");
}

QString configFolder() {
    const QByteArray folder = qgetenv("XDG_CONFIG_HOME");
    return folder.startsWith('/') ? QFile::decodeName(folder) : homeFolder() + "/.config";
}

} // namespace ctl
