#include "platform/linux/watch/StreamTable.h"

#include "base/Paths.h"
#include "base/ThreadChecker.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vt {

struct StreamTable::Record {
    std::function<void()> changed;
    std::function<void()> complete; // may be empty
    bool alive = true;

    void deliver(WatchReport::Kind kind) const {
        if (!alive) return;
        if (kind == WatchReport::Kind::complete && complete)
            complete();
        else
            changed();
    }
};

struct StreamTable::Root {
    std::uint64_t id = 0;
    std::vector<std::shared_ptr<Record>> streams;
    std::uint64_t latestEventId = 0;
    std::vector<WatchReport::Kind> untold; // what came while there was no stream
    std::unique_ptr<Timer> grace;
};

struct StreamTable::State {
    State(RunLoop& loop, std::chrono::milliseconds patience) : runLoop(loop), grace(patience) {}
    ThreadChecker mainThread;
    RunLoop& runLoop;
    std::chrono::milliseconds grace;
    std::unique_ptr<WatchBackend> backend;
    std::map<std::string, Root> roots; // by path
    std::uint64_t lastRoot = 0;
    std::uint64_t lastEventId = 0;

    void report(const WatchReport& report) {
        VT_ASSERT_THREAD(mainThread);
        const auto found =
            std::find_if(roots.begin(), roots.end(), [&](const auto& entry) { return entry.second.id == report.root; });
        if (found == roots.end() || report.kind == WatchReport::Kind::completeWithoutGap) return;
        Root& root = found->second;
        root.latestEventId = ++lastEventId;
        if (root.streams.empty()) root.untold.push_back(report.kind);
        // A copy: whoever is told may make and drop streams.
        const auto streams = root.streams;
        for (const auto& stream : streams) stream->deliver(report.kind);
    }
    void drop(const std::string& path, const std::shared_ptr<Record>& record) {
        VT_ASSERT_THREAD(mainThread);
        record->alive = false;
        const auto found = roots.find(path);
        if (found == roots.end()) return;
        std::erase(found->second.streams, record);
        if (!found->second.streams.empty()) return;
        found->second.grace = runLoop.after(grace, [this, path] { graceEnded(path); });
    }
    void graceEnded(const std::string& path) {
        const auto found = roots.find(path);
        if (found == roots.end()) return;
        const std::unique_ptr<Timer> fired = std::move(found->second.grace);
        backend->remove(found->second.id);
        roots.erase(found);
    }
};

class StreamTable::Stream final : public FileEventStream {
  public:
    Stream(std::weak_ptr<State> state, std::string path, std::shared_ptr<Record> record)
        : _state(std::move(state)), _path(std::move(path)), _record(std::move(record)) {}
    ~Stream() override {
        if (const auto state = _state.lock()) state->drop(_path, _record);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    [[nodiscard]] std::uint64_t latestEventId() const override {
        const auto state = _state.lock();
        if (!state) return 0;
        const auto root = state->roots.find(_path);
        return root == state->roots.end() ? 0 : root->second.latestEventId;
    }

  private:
    std::weak_ptr<State> _state;
    std::string _path;
    std::shared_ptr<Record> _record;
};

StreamTable::StreamTable(RunLoop& runLoop, std::chrono::milliseconds grace)
    : _mailbox(std::make_shared<MainThreadMailbox>(runLoop)), _state(std::make_shared<State>(runLoop, grace)) {}

StreamTable::~StreamTable() {
    _mailbox->close();
}

void StreamTable::setBackend(std::unique_ptr<WatchBackend> backend) {
    _state->backend = std::move(backend);
}

WatchBackend& StreamTable::backend() const {
    return *_state->backend;
}

std::function<void(WatchReport)> StreamTable::reporter() const {
    return [mailbox = _mailbox, state = std::weak_ptr(_state)](WatchReport report) {
        mailbox->post([state, report] {
            if (const auto alive = state.lock()) alive->report(report);
        });
    };
}

std::unique_ptr<FileEventStream> StreamTable::stream(const std::string& path, const FileEventSettings& settings,
                                                     std::function<void()> changed) {
    VT_ASSERT_THREAD(_state->mainThread);
    if (!paths::isAbsolute(path)) return nullptr;
    const std::string clean = paths::clean(path);
    const auto [found, isNew] = _state->roots.try_emplace(clean);
    Root& root = found->second;
    root.grace.reset();
    auto record = std::make_shared<Record>(Record{std::move(changed), settings.complete});
    root.streams.push_back(record);
    if (isNew) {
        root.id = ++_state->lastRoot;
        root.latestEventId = _state->lastEventId;
        _state->backend->add(root.id, clean, settings.latency);
    }
    for (const WatchReport::Kind kind : std::exchange(root.untold, {}))
        _state->runLoop.performLater([record, kind] { record->deliver(kind); });
    return std::make_unique<Stream>(_state, clean, std::move(record));
}

} // namespace vt
