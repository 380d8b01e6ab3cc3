// The commands, each a function that prints its data and answers the exit code.
#pragma once

#include "vantaroctl/Agent.h"
#include "vantaroctl/CommandLine.h"

#include <span>

namespace ctl {

struct Command {
    const char* name;
    const char* arguments; // as the help shows them
    const char* summary;
    const char* example;
    int fewest;          // positional arguments
    int most;            // -1: any number
    const char* options; // of "json wait follow timeout", those that it takes
    int (*run)(const CommandLine& line);
    bool hidden = false; // for other programs; the help does not show it
};

[[nodiscard]] std::span<const Command> commands();
[[nodiscard]] const Command* commandNamed(const QByteArray& name);
[[nodiscard]] QString usageOf(const Command& command); // "vantaroctl list DRIVE [--json]"
void printHelp(const Command* command);                // null: the whole program

// Ready-made answers for several files of commands.
int listDrives(const CommandLine& line);
int listVolumes(const CommandLine& line);
int adoptDrive(const CommandLine& line);
int forgetDrive(const CommandLine& line);
int ejectDrive(const CommandLine& line);
int queryDrive(const CommandLine& line);
int showList(const CommandLine& line);
int setList(const CommandLine& line);
int addToList(const CommandLine& line);
int dropFromList(const CommandLine& line);
int getSetting(const CommandLine& line);
int setSetting(const CommandLine& line);
int explainFile(const CommandLine& line);
int startSync(const CommandLine& line);
int stopSync(const CommandLine& line);
int showStatus(const CommandLine& line);
int showProgress(const CommandLine& line);
int watchActivity(const CommandLine& line);
int removeSync(const CommandLine& line);
int showLog(const CommandLine& line);
int sendEvent(const CommandLine& line);
int switchDebug(const CommandLine& line);
int quitAgent(const CommandLine& line);
int complete(const CommandLine& line);

} // namespace ctl
