#include "vantaroctl/Commands.h"

#include "vantaroctl/Terminal.h"

#include <algorithm>
#include <array>

namespace ctl {

std::span<const Command> commands() {
    static const std::array<Command, 21> rows = {{
        {"drives", "", "Show the drives that the agent serves.", "vantaroctl drives --json", 0, 0, "json", listDrives},
        {"volumes", "", "Show every mounted volume the agent could serve, and why it does not.", "vantaroctl volumes",
         0, 0, "json", listVolumes},
        {"adopt", "PATH", "Take a mounted volume or a plain folder into service.", "vantaroctl adopt /media/ann/Stick",
         1, 1, "json", adoptDrive},
        {"forget", "PATH", "Stop serving a drive; its files stay as they are.", "vantaroctl forget /media/ann/Stick", 1,
         1, "", forgetDrive},
        {"query", "DRIVE", "Tell whether the drive is set up for sync.", "vantaroctl query Stick", 1, 1, "",
         queryDrive},
        {"list", "DRIVE", "Show the sync list.", "vantaroctl list Stick", 1, 1, "json", showList},
        {"set-list", "DRIVE PATH...", "Replace the sync list; no paths: an empty list.",
         "vantaroctl set-list Stick ~/Pictures ~/Music", 1, -1, "timeout", setList},
        {"add", "DRIVE PATH...", "Add to the sync list.", "vantaroctl add Stick ~/Documents", 2, -1, "timeout",
         addToList},
        {"drop", "DRIVE PATH...", "Take off the sync list; copies stay on the drive.", "vantaroctl drop Stick ~/Movies",
         2, -1, "timeout", dropFromList},
        {"get", "DRIVE NAME", "Show a setting of the drive.", "vantaroctl get Stick device-filter", 2, 2, "",
         getSetting},
        {"set", "DRIVE NAME VALUE", "Change a setting of the drive.", "vantaroctl set Stick continuous off", 3, 3, "",
         setSetting},
        {"start", "DRIVE", "Start a sync.", "vantaroctl start Stick --wait", 1, 1, "wait timeout", startSync},
        {"stop", "DRIVE", "Cancel the drive's syncs.", "vantaroctl stop Stick", 1, 1, "", stopSync},
        {"status", "DRIVE", "Show every user of the drive.", "vantaroctl status Stick --json", 1, 1, "json",
         showStatus},
        {"progress", "DRIVE", "Show the progress now.", "vantaroctl progress Stick --json", 1, 1, "json", showProgress},
        {"watch", "[DRIVE]", "Follow the activity until interrupted.", "vantaroctl watch", 0, 1, "json", watchActivity},
        {"remove-sync", "DRIVE", "Remove the drive's sync configuration.", "vantaroctl remove-sync Stick", 1, 1, "",
         removeSync},
        {"eject", "DRIVE", "Unmount the drive, unless it is busy.", "vantaroctl eject Stick", 1, 1, "", ejectDrive},
        {"log", "", "Print the agent's log.", "vantaroctl log --follow", 0, 0, "follow", showLog},
        {"event", "CLASS ID [KEY=TYPE:VALUE]...", "Send one raw event and print the reply's descriptors.",
         "vantaroctl event vnTR GETL ----=furl:/media/ann/Stick", 2, -1, "", sendEvent},
        {"quit", "", "End the agent.", "vantaroctl quit", 0, 0, "", quitAgent},
    }};
    return rows;
}

const Command* commandNamed(const QByteArray& name) {
    const auto all = commands();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Command& row) { return name == row.name; });
    return found == all.end() ? nullptr : &*found;
}

void printHelp(const Command* command) {
    if (command == nullptr) {
        printLine("Usage: vantaroctl COMMAND [ARGUMENTS] [OPTIONS]\n\nCommands:");
        for (const Command& row : commands())
            printLine(QString("  %1 %2").arg(QString(row.name), -11).arg(row.summary));
        printLine("\nDRIVE is a mount point, a path below it, or an unambiguous drive name.");
        printLine("\"vantaroctl COMMAND --help\" shows a command's arguments and an example.");
        return;
    }
    QString usage =
        QString("Usage: vantaroctl %1 %2").arg(QString(command->name), QString(command->arguments)).trimmed();
    for (const QString& option : QString(command->options).split(' ', Qt::SkipEmptyParts))
        usage += option == "timeout" ? " [--timeout SECONDS]" : " [--" + option + "]";
    printLine(usage);
    printLine(QString("\n%1").arg(command->summary));
    if (QByteArray(command->name) == "get" || QByteArray(command->name) == "set")
        printLine("\nNAME is continuous, movies, music, pictures, documents, participate, quiet (on or off)\n"
                  "or device-filter (0 to 8, or unlimited, apple-high, apple-unlimited, apple-low,\n"
                  "android, kindle-fire, kindle-fire-hd, windows-rt).");
    printLine(QString("\nExample: %1").arg(command->example));
}

} // namespace ctl
