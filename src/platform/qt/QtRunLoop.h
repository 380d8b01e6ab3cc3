// The run loop over Qt's event loop: QCoreApplication's own, and every nested one of a modal window.
// Thread: main, the one that makes it; performAndWait, performLater, isMainThread and quit on any.
// A QCoreApplication must be there first and outlive it.
#pragma once

#include "platform/RunLoop.h"

#include <memory>

namespace vt {

class QtRunLoop final : public RunLoop {
  public:
    QtRunLoop();
    ~QtRunLoop() override;

    // Runs the application's event loop until quit(); its exit code.
    int exec();
    static void quit(int exitCode);

    [[nodiscard]] bool isMainThread() const override;
    [[nodiscard]] bool performAndWait(std::function<void()> work) override;
    void performLater(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::milliseconds delay, std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(std::chrono::milliseconds period, std::function<void()> work) override;
    // Serves handed-over work only: timers, windows and the bus rest meanwhile.
    bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) override;
    void beginShutdown() override;

  private:
    class Receiver;
    std::unique_ptr<Receiver> _receiver;
};

} // namespace vt
