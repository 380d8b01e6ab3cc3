#include "vantaroctl/CommandLine.h"

#include "vantaroctl/Failure.h"

#include <algorithm>
#include <cmath>

namespace ctl {

namespace {

constexpr double longestTimeout = 2'000'000; // seconds; what a timer of milliseconds holds

double secondsOf(const QByteArray& text) {
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || !std::isfinite(seconds) || seconds < 0)
        throw Failure{usageError, "--timeout takes a number of seconds, not \"" + text + "\""};
    return std::min(seconds, longestTimeout);
}

} // namespace

CommandLine CommandLine::parse(const QList<QByteArray>& arguments) {
    CommandLine line;
    bool positionalOnly = false;
    bool positionalMarked = false; // by "--"
    for (qsizetype index = 0; index < arguments.size(); ++index) {
        const QByteArray& argument = arguments[index];
        if (argument == "--" && !positionalMarked) {
            positionalOnly = positionalMarked = true;
            continue;
        }
        if (positionalOnly || !argument.startsWith('-') || argument == "-") {
            if (line.command.isEmpty())
                line.command = argument;
            else
                line.arguments.append(argument);
            // A raw event's keys may begin with hyphens ("----=furl:/mnt/x").
            if (line.command == "event" && line.arguments.size() == 2) positionalOnly = true;
            continue;
        }
        if (argument == "--json")
            line.json = true;
        else if (argument == "--wait")
            line.wait = true;
        else if (argument == "--follow")
            line.follow = true;
        else if (argument == "--help" || argument == "-h")
            line.help = true;
        else if (argument == "--version")
            line.version = true;
        else if (argument.startsWith("--timeout="))
            line.timeout = secondsOf(argument.mid(10));
        else if (argument == "--timeout") {
            if (++index == arguments.size()) throw Failure{usageError, "--timeout takes a number of seconds"};
            line.timeout = secondsOf(arguments[index]);
        } else
            throw Failure{usageError, "unknown option " + QString::fromUtf8(argument)};
    }
    return line;
}

} // namespace ctl
