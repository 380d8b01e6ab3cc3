#include "platform/linux/watch/WatchBackend.h"

#include "platform/RunLoop.h"

#include <utility>

namespace vt {

void MainThreadMailbox::post(std::function<void()> work) {
    const std::scoped_lock lock(_mutex);
    if (_runLoop == nullptr) return;
    _runLoop->performLater([mailbox = shared_from_this(), work = std::move(work)] {
        if (mailbox->isOpen()) work();
    });
}

void MainThreadMailbox::close() {
    const std::scoped_lock lock(_mutex);
    _runLoop = nullptr;
}

bool MainThreadMailbox::isOpen() {
    const std::scoped_lock lock(_mutex);
    return _runLoop != nullptr;
}

} // namespace vt
