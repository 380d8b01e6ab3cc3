// vantaroctl: the agent's controlling interface for the command line.
#include "vantaroctl/Program.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QList<QByteArray> arguments;
    for (int i = 1; i < argc; ++i) arguments.append(argv[i]);
    return ctl::runProgram(arguments);
}
