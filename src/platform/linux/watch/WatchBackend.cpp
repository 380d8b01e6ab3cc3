#include "platform/linux/watch/WatchBackend.h"

#include "platform/RunLoop.h"

#include <utility>

namespace vt {

void MainThreadMailbox::post(std::function<void()> work) {
    const std::scoped_lock lock(_mutex);
    if (_runLoop != nullptr) _runLoop->performLater(std::move(work));
}

void MainThreadMailbox::close() {
    const std::scoped_lock lock(_mutex);
    _runLoop = nullptr;
}

} // namespace vt
