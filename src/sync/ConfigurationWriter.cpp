#include "sync/ConfigurationWriter.h"

#include "base/LogSink.h"

#include <chrono>
#include <system_error>
#include <thread>

namespace vt {

namespace {
constexpr std::chrono::milliseconds shortWait{20};
constexpr std::chrono::milliseconds longestWait{2000};
} // namespace

bool ConfigurationWriter::write(std::function<bool()> run) {
    auto job = std::make_shared<Job>();
    job->run = std::move(run);
    {
        const std::scoped_lock lock(_mutex);
        _jobs.push_back(job);
        startHelperIfNeeded();
    }
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
    if (!ended) ended = _runLoop.serveUntil(done, longestWait);
    const std::scoped_lock lock(_mutex);
    return !ended || job->answer;
}

void ConfigurationWriter::startHelperIfNeeded() {
    if (_helperRuns) return;
    try {
        std::thread([self = shared_from_this()] { self->work(); }).detach();
        _helperRuns = true;
    } catch (const std::system_error& error) {
        systemLog(std::string("no thread for the drive's settings: ") + error.what());
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
