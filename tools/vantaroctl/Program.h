// The program from its arguments to its exit code, with every failure turned into a text and a code.
#pragma once

#include <QByteArray>
#include <QList>

namespace ctl {

// `arguments` without the program's name. Data goes to standard output, everything else to standard error.
int runProgram(const QList<QByteArray>& arguments);

} // namespace ctl
