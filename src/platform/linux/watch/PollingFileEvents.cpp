#include "platform/linux/watch/PollingFileEvents.h"

#include "platform/linux/watch/TreePoller.h"

#include <utility>

namespace vt {

namespace {

class PollingBackend final : public WatchBackend {
  public:
    PollingBackend(const WatchOptions& options, const std::function<void(WatchReport)>& report)
        : _poller(options.pollInterval, [report](TreePoller::Key root, TreePoller::Look look, std::uint64_t) {
              report(
                  {root, look == TreePoller::Look::first ? WatchReport::Kind::complete : WatchReport::Kind::changed});
          }) {
        if (const auto table = readSettledMountTable(); table.ok()) _scope.setMounts(*table);
        _scope.setIgnored(options.ignored);
        _poller.setScope(_scope);
    }
    void add(std::uint64_t root, const std::string& path, double) override {
        if (_scope.isIgnored(path)) return;
        const std::string place = _scope.placeBehindLinks(path);
        _poller.watch(root, path, _scope.mountPointOf(place), !_scope.lacksEvents(place));
    }
    void remove(std::uint64_t root) override { _poller.forget(root); }
    void leaveOut(const std::vector<std::string>& folders) override {
        _scope.setLeftOut(folders);
        _poller.setScope(_scope);
    }

  private:
    WatchScope _scope;
    TreePoller _poller;
};

} // namespace

PollingFileEvents::PollingFileEvents(RunLoop& runLoop, const WatchOptions& options) : _streams(runLoop, options.grace) {
    _streams.setBackend(std::make_unique<PollingBackend>(options, _streams.reporter()));
}

std::unique_ptr<FileEventStream> PollingFileEvents::stream(const std::string& path, const FileEventSettings& settings,
                                                           std::function<void()> changed) {
    return _streams.stream(path, settings, std::move(changed));
}

void PollingFileEvents::leaveOut(const std::vector<std::string>& folders) {
    _streams.backend().leaveOut(folders);
}

} // namespace vt
