// vantaroctl: the agent's controlling interface for the command line.
#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"

#include <QCoreApplication>

#ifndef VANTARO_VERSION
#define VANTARO_VERSION "unknown"
#endif

namespace {

void checkUsage(const ctl::Command& command, const ctl::CommandLine& line) {
    const QString options = command.options;
    const auto refuse = [&](const char* option) {
        throw ctl::Failure{ctl::usageError, QString("%1 takes no --%2").arg(command.name, option)};
    };
    if (line.json && !options.contains("json")) refuse("json");
    if (line.wait && !options.contains("wait")) refuse("wait");
    if (line.follow && !options.contains("follow")) refuse("follow");
    if (line.timeout && !options.contains("timeout")) refuse("timeout");
    const auto count = line.arguments.size();
    if (count < command.fewest || (command.most >= 0 && count > command.most))
        throw ctl::Failure{ctl::usageError,
                           QString("usage: vantaroctl %1 %2").arg(command.name, command.arguments).trimmed()};
}

int run(const QList<QByteArray>& arguments) {
    const ctl::CommandLine line = ctl::CommandLine::parse(arguments);
    if (line.command == "--version") {
        ctl::printLine("vantaroctl " VANTARO_VERSION);
        return ctl::done;
    }
    if (line.command.isEmpty() && !line.help) {
        throw ctl::Failure{ctl::usageError, "which command? \"vantaroctl --help\" shows them"};
    }
    const ctl::Command* command = line.command.isEmpty() ? nullptr : ctl::commandNamed(line.command);
    if (command == nullptr && !line.command.isEmpty())
        throw ctl::Failure{
            ctl::usageError,
            QString("unknown command \"%1\"; \"vantaroctl --help\" shows them").arg(QString(line.command))};
    if (line.help) {
        ctl::printHelp(command);
        return ctl::done;
    }
    checkUsage(*command, line);
    return command->run(line);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QList<QByteArray> arguments;
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        arguments.append(argv[i]);
        json = json || arguments.last() == "--json";
    }
    try {
        return run(arguments);
    } catch (const ctl::Failure& failure) {
        if (failure.code == ctl::interrupted) return failure.code;
        if (json && failure.code == ctl::agentError) {
            QJsonObject error{{"message", failure.message}};
            error.insert("number", failure.number ? QJsonValue(*failure.number) : QJsonValue::Null);
            ctl::printJson(QJsonObject{{"error", error}});
        }
        ctl::printError(failure.message);
        return failure.code;
    }
}
