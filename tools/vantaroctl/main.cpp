// vantaroctl: the agent's controlling interface for the command line.
#include "vantaroctl/Program.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QList<QByteArray> arguments;
    for (int i = 1; i < argc; ++i) arguments.append(argv[i]);
    int code = ctl::runProgram(arguments);
    // QtDBus's own thread may still be at work: nothing that it uses is taken apart under it.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fputs("vantaroctl: the answer could not be written\n", stderr);
        if (code == 0) code = 1;
    }
    std::_Exit(code);
}
