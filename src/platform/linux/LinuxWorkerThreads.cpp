#include "platform/linux/LinuxWorkerThreads.h"

#include <memory>
#include <pthread.h>

namespace vt {

namespace {

extern "C" void* runBody(void* argument) {
    const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
    (*body)();
    return nullptr;
}

} // namespace

bool LinuxWorkerThreads::start(std::size_t stackBytes, std::function<void()> body) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    auto argument = std::make_unique<std::function<void()>>(std::move(body));
    pthread_t thread{};
    const bool started = pthread_attr_setstacksize(&attributes, stackBytes) == 0 &&
                         pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) == 0 &&
                         pthread_create(&thread, &attributes, runBody, argument.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (started) (void)argument.release();
    return started;
}

} // namespace vt
