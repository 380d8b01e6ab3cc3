#include "vantaroctl/Commands.h"

#include "vantaroctl/Settings.h"
#include "vantaroctl/Terminal.h"

#include <algorithm>
#include <array>

namespace ctl {

std::span<const Command> commands() {
    static const std::array<Command, 24> rows = {{
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
        {"get", "DRIVE NAME", "Show a setting of the drive, or whether the drive is valid.",
         "vantaroctl get Stick device-filter", 2, 2, "", getSetting},
        {"set", "DRIVE NAME VALUE", "Change a setting of the drive.", "vantaroctl set Stick continuous off", 3, 3, "",
         setSetting},
        {"explain", "DRIVE FILE", "Tell whether the drive's media filter lets a file pass, and why.",
         "vantaroctl explain Stick ~/Movies/film.mp4", 2, 2, "json", explainFile},
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
        {"debug", "[on|off]", "Show or switch the debug lines in the agent's log.", "vantaroctl debug on", 0, 1, "",
         switchDebug},
        {"quit", "", "End the agent.", "vantaroctl quit", 0, 0, "", quitAgent},
        {"complete", "KIND [COMMAND]", "Print the words that a shell completes.", "vantaroctl complete drives", 1, 2,
         "", complete, true},
    }};
    return rows;
}

const Command* commandNamed(const QByteArray& name) {
    const auto all = commands();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Command& row) { return name == row.name; });
    return found == all.end() ? nullptr : &*found;
}

QString usageOf(const Command& command) {
    QString usage = QString("vantaroctl %1 %2").arg(QString(command.name), QString(command.arguments)).trimmed();
    for (const QString& option : QString(command.options).split(' ', Qt::SkipEmptyParts))
        usage += option == "timeout" ? QString(" [--timeout SECONDS]") : " [--" + option + "]";
    return usage;
}

namespace {

void printAllCommands() {
    constexpr int summaryColumn = 15;
    printLine("Usage: vantaroctl COMMAND [ARGUMENTS] [OPTIONS]\n\nCommands:");
    for (const Command& row : commands())
        if (!row.hidden)
            printLine(wrapped(QString("  %1  %2").arg(QString(row.name), -11).arg(row.summary), summaryColumn));
    printLine("\nDRIVE is a mount point, a path below it, or an unambiguous drive name.");
    printLine("--json prints machine-readable data; --version prints the version.");
    printLine("\"vantaroctl COMMAND --help\" shows a command's arguments and an example.");
    printLine("\nExit codes: 0 done, 1 the agent answered with an error, 2 usage, 3 no agent is");
    printLine("running, 4 timed out, 5 the sync ended without success, 130 interrupted.");
}

// What a command's arguments may be, where its usage cannot tell.
QString argumentHelp(const QByteArray& command) {
    if (command == "get") return "NAME is one of " + settingNames(false).join(", ") + ".";
    if (command == "set")
        return "NAME is one of " + settingNames(true).join(", ") +
               ".\nVALUE is on or off; for device-filter 0 to 8 or one of " + deviceClassNames().join(", ") + ".";
    if (command == "event")
        return "TYPE is a descriptor's type: furl (a path or URL), true, fals, long (a 32-bit integer), utf8, "
               "list (items separated by commas; a path, or TYPE:VALUE); bytes of any other type are hexadecimal.";
    if (command == "drives" || command == "volumes" || command == "status" || command == "progress")
        return "--json prints one JSON value with all that is known.";
    if (command == "watch")
        return "On a terminal each drive has a progress bar, and below it the folders that have changed and the time "
               "until their sync. With --json, or where the output is no terminal, each piece of news is one JSON "
               "object a line. Ctrl-C ends it.";
    if (command == "adopt")
        return "It is remembered across restarts. A drive that is new to you begins with Movies, Music and Pictures of "
               "your home folder, and follows changes.";
    if (command == "remove-sync") return "The copies stay on the drive.";
    if (command == "log") return "--follow goes on with what is added, until interrupted.";
    if (command == "stop") return "Ends the running sync and those that wait; changes start new ones.";
    if (command == "set-list" || command == "add" || command == "drop")
        return "Waits until the drive is idle, 600 seconds unless --timeout says otherwise.";
    if (command == "start") return "--wait shows the progress and returns when the sync has ended.";
    if (command == "explain") return "FILE need not lie in anything that is on the sync list.";
    if (command == "debug") return "Works without a running agent too, and holds from the next line on.";
    return {};
}

} // namespace

void printHelp(const Command* command) {
    if (command == nullptr) return printAllCommands();
    printLine("Usage: " + usageOf(*command));
    printLine(QString("\n%1").arg(command->summary));
    if (const QString help = argumentHelp(command->name); !help.isEmpty()) printLine("\n" + wrapped(help));
    printLine(QString("\nExample: %1").arg(command->example));
}

} // namespace ctl
