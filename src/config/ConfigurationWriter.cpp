#include "config/ConfigurationWriter.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace vt {
namespace {

constexpr std::chrono::milliseconds patience{2000};

struct Job {
    std::function<bool()> write;
    bool written = false;
    std::atomic<bool> done = false; // publishes `written`
};

} // namespace

struct ConfigurationWriter::Queue {
    explicit Queue(std::shared_ptr<const void> kept) : keepAlive(std::move(kept)) {}

    std::shared_ptr<const void> keepAlive;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Job>> jobs;
    bool running = false; // a thread is there
    bool ending = false;

    std::shared_ptr<Job> next() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return ending || !jobs.empty(); });
        if (jobs.empty()) return nullptr;
        auto job = std::move(jobs.front());
        jobs.pop_front();
        return job;
    }
};

ConfigurationWriter::ConfigurationWriter(RunLoop& runLoop, std::shared_ptr<const void> keepAlive)
    : _runLoop(runLoop), _queue(std::make_shared<Queue>(std::move(keepAlive))) {}

ConfigurationWriter::~ConfigurationWriter() {
    const std::scoped_lock lock(_queue->mutex);
    _queue->ending = true;
    _queue->changed.notify_all();
}

bool ConfigurationWriter::run(std::function<bool()> write) {
    if (!_runLoop.isMainThread()) return write();
    auto job = std::make_shared<Job>();
    job->write = std::move(write);
    {
        const std::scoped_lock lock(_queue->mutex);
        _queue->jobs.push_back(job);
        _queue->changed.notify_all();
        if (!_queue->running) {
            _queue->running = true;
            std::thread([queue = _queue, &runLoop = _runLoop] {
                while (const auto next = queue->next()) {
                    next->written = next->write();
                    next->done = true;
                    runLoop.performLater([] {}); // wakes a waiting main thread
                }
            }).detach();
        }
    }
    const bool done = _runLoop.serveUntil([&] { return job->done.load(); }, patience);
    return !done || job->written;
}

} // namespace vt
