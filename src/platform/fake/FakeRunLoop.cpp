#include "platform/fake/FakeRunLoop.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

namespace vt {

using std::chrono::nanoseconds;

struct FakeRunLoop::Timers {
    struct Entry {
        nanoseconds due;
        nanoseconds period; // zero: once
        std::function<void()> work;
    };
    std::uint64_t next = 0;
    std::map<std::uint64_t, std::shared_ptr<Entry>> entries; // in the order of creation

    // The timer that is due first, the older one of two; the end when none is due by `limit`.
    auto earliest(nanoseconds limit) {
        auto first = entries.end();
        for (auto entry = entries.begin(); entry != entries.end(); ++entry)
            if (entry->second->due <= limit && (first == entries.end() || entry->second->due < first->second->due))
                first = entry;
        return first;
    }
};

class FakeRunLoop::FakeTimer final : public Timer {
  public:
    FakeTimer(std::shared_ptr<Timers> timers, std::uint64_t number) : _timers(std::move(timers)), _number(number) {}
    ~FakeTimer() override { _timers->entries.erase(_number); }
    FakeTimer(const FakeTimer&) = delete;
    FakeTimer& operator=(const FakeTimer&) = delete;

  private:
    std::shared_ptr<Timers> _timers;
    std::uint64_t _number;
};

FakeRunLoop::FakeRunLoop(FakeClock& clock) : _clock(clock), _queue([] {}), _timers(std::make_shared<Timers>()) {}

FakeRunLoop::~FakeRunLoop() = default;

void FakeRunLoop::advance(nanoseconds duration) {
    const nanoseconds end = _clock.steady() + duration;
    runPending();
    for (auto found = _timers->earliest(end); found != _timers->entries.end(); found = _timers->earliest(end)) {
        const std::shared_ptr<Timers::Entry> entry = found->second; // the work may destroy its timer
        // A nested advance() in an earlier work may have moved the clock beyond this timer already.
        _clock.advance(std::max(nanoseconds::zero(), entry->due - _clock.steady()));
        if (entry->period > nanoseconds::zero())
            entry->due += entry->period;
        else
            _timers->entries.erase(found);
        HandoverQueue::runGuarded(entry->work);
        runPending();
    }
    _clock.advance(std::max(nanoseconds::zero(), end - _clock.steady()));
}

std::size_t FakeRunLoop::runPending() {
    std::size_t count = 0;
    while (_queue.runNext()) ++count;
    return count;
}

bool FakeRunLoop::runNext() {
    return _queue.runNext();
}

bool FakeRunLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) {
    const auto start = std::chrono::steady_clock::now();
    bool answer = done();
    while (!answer && std::chrono::steady_clock::now() - start < atMost) {
        // Not serveUntil(): waiters are served during a shut-down only where the product itself serves them.
        if (!_queue.runNext()) _queue.waitForItem(std::chrono::milliseconds(10));
        answer = done();
    }
    return answer;
}

std::size_t FakeRunLoop::timerCount() const {
    return _timers->entries.size();
}

bool FakeRunLoop::isMainThread() const {
    return _queue.isMainThread();
}

bool FakeRunLoop::performAndWait(std::function<void()> work) {
    return _queue.performAndWait(std::move(work));
}

void FakeRunLoop::performLater(std::function<void()> work) {
    _queue.performLater(std::move(work));
}

std::unique_ptr<Timer> FakeRunLoop::schedule(nanoseconds delay, nanoseconds period, std::function<void()> work) {
    const std::uint64_t number = _timers->next++;
    const nanoseconds due = _clock.steady() + std::max(nanoseconds::zero(), delay);
    _timers->entries.emplace(number, std::make_shared<Timers::Entry>(Timers::Entry{due, period, std::move(work)}));
    return std::make_unique<FakeTimer>(_timers, number);
}

std::unique_ptr<Timer> FakeRunLoop::after(std::chrono::milliseconds delay, std::function<void()> work) {
    return schedule(delay, nanoseconds::zero(), std::move(work));
}

std::unique_ptr<Timer> FakeRunLoop::every(std::chrono::milliseconds period, std::function<void()> work) {
    const nanoseconds step = std::max<nanoseconds>(period, std::chrono::milliseconds(1));
    return schedule(step, step, std::move(work));
}

bool FakeRunLoop::serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) {
    return _queue.serveUntil(done, atMost);
}

void FakeRunLoop::beginShutdown() {
    _queue.beginShutdown();
}

} // namespace vt
