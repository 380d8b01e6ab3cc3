#include "sync/ConfigurationWriter.h"

#include "base/LogSink.h"

#include <chrono>
#include <system_error>
#include <thread>

namespace vt {

namespace {
constexpr std::chrono::milliseconds shortWait{20};
constexpr std::chrono::milliseconds longestWait{2000};
constexpr std::size_t stackBytes = 512UL * 1024;
} // namespace

bool ConfigurationWriter::write(std::function<bool()> run) {
    auto job = std::make_shared<Job>();
    job->run = std::move(run);
    bool helped = false;
    {
        const std::scoped_lock lock(_mutex);
        _jobs.push_back(job);
        helped = _helperRuns || startHelper();
        _helperRuns = true;
    }
    // Better a caller that waits than a setting that is lost.
    if (!helped) work();
    const auto done = [this, &job] {
        const std::scoped_lock lock(_mutex);
        return job->done;
    };
    // Most writes end at once; only a slow one needs the run loop served.
    bool ended = false;
    {
        std::unique_lock lock(_mutex);
        ended = _changed.wait_for(lock, shortWait, [&job] { return job->done; });
    }
    if (!ended) _runLoop.serveUntil(done, longestWait);
    const std::scoped_lock lock(_mutex);
    return job->done && job->answer;
}

bool ConfigurationWriter::startHelper() {
    auto body = [self = shared_from_this()] { self->work(); };
    if (_threads != nullptr) return _threads->start(stackBytes, std::move(body));
    try {
        std::thread(std::move(body)).detach();
        return true;
    } catch (const std::system_error& error) {
        systemLog(std::string("no thread for the drive's settings: ") + error.what());
        return false;
    }
}

void ConfigurationWriter::work() {
    while (true) {
        std::shared_ptr<Job> job;
        {
            const std::scoped_lock lock(_mutex);
            if (_jobs.empty()) {
                _helperRuns = false;
                return;
            }
            job = _jobs.front();
        }
        bool answer = false;
        {
            const DriveSession session(*_guard);
            answer = job->run();
        }
        {
            const std::scoped_lock lock(_mutex);
            job->answer = answer;
            job->done = true;
            _jobs.pop_front();
        }
        _changed.notify_all();
    }
}

} // namespace vt
