// vantaroctl: the agent's controlling interface for the command line.
#include "vantaroctl/Failure.h"
#include "vantaroctl/Program.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A stream that is closed would be the first socket that is opened, and what is printed would be sent to the bus. In
// this mode its use fails.
void occupyStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) == -1) (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// Whoever waits catches it instead (see Waiting.h); a call that the agent does not answer ends here.
void endInterrupted(int) {
    _exit(ctl::interrupted);
}

void endWhenInterrupted() {
    struct sigaction before {};
    // In the background of a shell it is ignored, and stays so until the program waits.
    if (sigaction(SIGINT, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = endInterrupted;
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    endWhenInterrupted();
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
