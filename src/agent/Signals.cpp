#include "agent/Signals.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

namespace {

int wakeUp[2] = {-1, -1};

void writeByte(int) {
    const char byte = 1;
    // A full pipe already holds the news.
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
}

void setHandler(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    // A terminal that closes; one who started the agent under nohup wants it to go on.
    struct sigaction before {};
    if (sigaction(SIGHUP, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
}

} // namespace

Signals::Signals(std::function<void()> onSignal) : _onSignal(std::move(onSignal)) {
    if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) return;
    _notifier = std::make_unique<QSocketNotifier>(wakeUp[0], QSocketNotifier::Read);
    QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] {
        char bytes[16];
        while (read(wakeUp[0], bytes, sizeof bytes) > 0) {
        }
        _onSignal();
    });
    setHandler(writeByte);
    // A reader that went away is an error of that write, not the end of the agent.
    std::signal(SIGPIPE, SIG_IGN);
}

Signals::~Signals() {
    setHandler(SIG_DFL);
}

} // namespace vt
