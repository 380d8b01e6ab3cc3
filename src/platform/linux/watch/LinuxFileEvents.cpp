#include "platform/linux/watch/LinuxFileEvents.h"

#include "base/LogSink.h"

#include <thread>
#include <utility>

namespace vt {

namespace {

class InotifyBackend final : public WatchBackend {
  public:
    InotifyBackend(const WatchOptions& options, WatchLoop::Report report, WatchLoop::Notice notice) {
        std::thread([orders = _orders, options, report = std::move(report), notice = std::move(notice)] {
            WatchLoop(orders, options, report, notice).run();
        }).detach();
    }
    ~InotifyBackend() override { _orders->stop(); }
    InotifyBackend(const InotifyBackend&) = delete;
    InotifyBackend& operator=(const InotifyBackend&) = delete;

    void add(std::uint64_t root, const std::string& path, double latency) override {
        _orders->send([=](WatchLoop& loop) { loop.add(root, path, latency); });
    }
    void remove(std::uint64_t root) override {
        _orders->send([=](WatchLoop& loop) { loop.remove(root); });
    }
    void leaveOut(const std::vector<std::string>& folders) override {
        _orders->send([=](WatchLoop& loop) { loop.leaveOut(folders); });
    }

  private:
    std::shared_ptr<WatchOrders> _orders = std::make_shared<WatchOrders>();
};

} // namespace

LinuxFileEvents::LinuxFileEvents(RunLoop& runLoop, const WatchOptions& options) : _streams(runLoop, options.grace) {
    auto say = [notice = options.notice](const std::string& line) { notice ? notice(line) : systemLog(line); };
    auto notice = [mailbox = _streams.mailbox(), say](const std::string& line) {
        mailbox->post([say, line] { say(line); });
    };
    _streams.setBackend(std::make_unique<InotifyBackend>(options, _streams.reporter(), std::move(notice)));
}

std::unique_ptr<FileEventStream> LinuxFileEvents::stream(const std::string& path, const FileEventSettings& settings,
                                                         std::function<void()> changed) {
    return _streams.stream(path, settings, std::move(changed));
}

void LinuxFileEvents::leaveOut(const std::vector<std::string>& folders) {
    _streams.backend().leaveOut(folders);
}

} // namespace vt
