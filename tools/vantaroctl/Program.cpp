#include "vantaroctl/Program.h"

#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"

#ifndef VANTARO_VERSION
#define VANTARO_VERSION "unknown"
#endif

namespace ctl {

namespace {

Failure usageFailure(const QString& text) {
    return {usageError, text};
}

void checkUsage(const Command& command, const CommandLine& line) {
    const QStringList taken = QString(command.options).split(' ', Qt::SkipEmptyParts);
    const auto check = [&](bool given, const char* option) {
        if (given && !taken.contains(QLatin1String(option)))
            throw usageFailure(QString("%1 takes no --%2").arg(command.name, option));
    };
    check(line.json, "json");
    check(line.wait, "wait");
    check(line.follow, "follow");
    check(line.timeout.has_value(), "timeout");
    const auto count = line.arguments.size();
    if (count < command.fewest || (command.most >= 0 && count > command.most))
        throw usageFailure("usage: " + usageOf(command));
}

int run(const CommandLine& line) {
    if (line.version) {
        printLine("vantaroctl " VANTARO_VERSION);
        return done;
    }
    if (line.command.isEmpty()) {
        if (!line.help) throw usageFailure("which command? \"vantaroctl --help\" shows them");
        printHelp(nullptr);
        return done;
    }
    const Command* command = commandNamed(line.command);
    if (command == nullptr)
        throw usageFailure(
            QString("unknown command \"%1\"; \"vantaroctl --help\" shows them").arg(QString::fromUtf8(line.command)));
    if (line.help) {
        printHelp(command);
        return done;
    }
    checkUsage(*command, line);
    return command->run(line);
}

void printFailure(const Failure& failure, bool asJson) {
    if (failure.code == interrupted) return;
    if (asJson && failure.code == agentError) {
        QJsonObject error{{"message", failure.message}};
        error.insert("number", failure.number ? QJsonValue(*failure.number) : QJsonValue::Null);
        printJson(QJsonObject{{"error", error}});
    }
    printError(failure.message);
}

} // namespace

int runProgram(const QList<QByteArray>& arguments) {
    bool asJson = false;
    try {
        const CommandLine line = CommandLine::parse(arguments);
        asJson = line.json;
        return run(line);
    } catch (const Failure& failure) {
        printFailure(failure, asJson);
        return failure.code;
    }
}

} // namespace ctl
