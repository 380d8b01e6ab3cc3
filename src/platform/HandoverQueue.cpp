#include "platform/HandoverQueue.h"

#include "base/LogSink.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>

namespace vt {

namespace {

struct Item {
    enum class Stage { waiting, done, released };
    std::function<void()> work;
    bool hasWaiter = false;
    Stage stage = Stage::waiting; // under the state's lock
};

// How long serveUntil() sleeps before it asks again: `done` may turn true without an item.
constexpr std::chrono::milliseconds askAgain{10};

} // namespace

struct HandoverQueue::State {
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Item>> items;
    int serving = 0; // nested serveUntil() calls
    bool shuttingDown = false;
    bool closed = false;
};

HandoverQueue::HandoverQueue(Wake wake) : _wake(std::move(wake)), _state(std::make_shared<State>()) {}

HandoverQueue::~HandoverQueue() {
    {
        const std::lock_guard guard(_state->lock);
        _state->closed = true;
    }
    releaseWaiters();
}

bool HandoverQueue::performAndWait(std::function<void()> work) {
    if (isMainThread()) {
        runGuarded(work);
        return true;
    }
    const std::shared_ptr<State> state = _state;
    auto item = std::make_shared<Item>();
    item->work = std::move(work);
    item->hasWaiter = true;
    {
        const std::lock_guard guard(state->lock);
        if (state->closed || (state->shuttingDown && state->serving == 0)) return false;
        state->items.push_back(item);
        _wake();
    }
    state->changed.notify_all();
    std::unique_lock lock(state->lock);
    state->changed.wait(lock, [&] { return item->stage != Item::Stage::waiting; });
    return item->stage == Item::Stage::done;
}

void HandoverQueue::performLater(std::function<void()> work) {
    const std::shared_ptr<State> state = _state;
    auto item = std::make_shared<Item>();
    item->work = std::move(work);
    {
        // Once the lock is released the work may run, and the main thread may have done with this queue.
        const std::lock_guard guard(state->lock);
        if (state->closed) return;
        state->items.push_back(std::move(item));
        _wake();
    }
    state->changed.notify_all();
}

bool HandoverQueue::runNext() {
    VT_ASSERT_THREAD(_main);
    const std::shared_ptr<State> state = _state;
    std::shared_ptr<Item> item;
    {
        const std::lock_guard guard(state->lock);
        if (state->items.empty()) return false;
        item = std::move(state->items.front());
        state->items.pop_front();
    }
    runGuarded(item->work);
    item->work = nullptr; // what the work holds dies here, on the main thread
    if (item->hasWaiter) {
        const std::lock_guard guard(state->lock);
        item->stage = Item::Stage::done;
    }
    state->changed.notify_all();
    return true;
}

bool HandoverQueue::serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) {
    VT_ASSERT_THREAD(_main);
    const std::shared_ptr<State> state = _state;
    const auto start = std::chrono::steady_clock::now();
    {
        const std::lock_guard guard(state->lock);
        ++state->serving;
    }
    bool answer = done();
    while (!answer) {
        const auto left = atMost - (std::chrono::steady_clock::now() - start);
        if (left <= std::chrono::nanoseconds::zero()) break;
        if (!runNext()) waitForItem(std::min<std::chrono::nanoseconds>(left, askAgain));
        answer = done();
    }
    bool release = false;
    {
        const std::lock_guard guard(state->lock);
        release = --state->serving == 0 && state->shuttingDown;
    }
    if (release) releaseWaiters();
    return answer;
}

void HandoverQueue::waitForItem(std::chrono::nanoseconds atMost) {
    std::unique_lock lock(_state->lock);
    _state->changed.wait_for(lock, atMost, [this] { return !_state->items.empty(); });
}

void HandoverQueue::beginShutdown() {
    VT_ASSERT_THREAD(_main);
    bool release = false;
    {
        const std::lock_guard guard(_state->lock);
        _state->shuttingDown = true;
        release = _state->serving == 0;
    }
    if (release) releaseWaiters();
}

void HandoverQueue::releaseWaiters() {
    std::deque<std::shared_ptr<Item>> dropped; // their work dies outside the lock
    {
        const std::lock_guard guard(_state->lock);
        std::deque<std::shared_ptr<Item>> kept;
        for (auto& item : _state->items) {
            if (item->hasWaiter) item->stage = Item::Stage::released;
            (item->hasWaiter || _state->closed ? dropped : kept).push_back(std::move(item));
        }
        _state->items = std::move(kept);
    }
    _state->changed.notify_all();
}

void HandoverQueue::runGuarded(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& exception) {
        systemLog(std::string("main thread exception: ") + exception.what());
    } catch (...) {
        systemLog("main thread exception of an unknown kind");
    }
}

} // namespace vt
