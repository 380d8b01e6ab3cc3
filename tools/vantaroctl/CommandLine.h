// A command as it was typed: its name, its positional arguments and its options.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace ctl {

struct CommandLine {
    QByteArray command;
    QList<QByteArray> arguments; // raw bytes: a path need not be UTF-8
    bool json = false;
    bool wait = false;
    bool follow = false;
    bool help = false;
    bool version = false;
    std::optional<double> timeout; // seconds

    // Arguments as given to the program, without its name. After "--", and for "event", everything is positional.
    [[nodiscard]] static CommandLine parse(const QList<QByteArray>& arguments);
    [[nodiscard]] QString text(qsizetype index) const { return QString::fromUtf8(arguments.value(index)); }
};

} // namespace ctl
