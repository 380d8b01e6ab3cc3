// SIGTERM, SIGINT and SIGHUP end the agent like a quit; a SIGHUP that was ignored stays so. Thread: main.
#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace vt {

class Signals {
  public:
    // `onSignal` runs on the event loop, once for each signal that arrived.
    explicit Signals(std::function<void()> onSignal);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

  private:
    std::function<void()> _onSignal;
    std::unique_ptr<QSocketNotifier> _notifier;
};

} // namespace vt
