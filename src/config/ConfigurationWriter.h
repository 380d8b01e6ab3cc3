// Writes of a drive's configuration away from the main thread, which never waits longer than two seconds for one.
// Thread: run() on any; off the main thread it writes at once.
// Owns: its thread, which ends after the last write; the destructor does not wait for it.
// Errors: the write's own lines in the log; a write that outlasts the wait counts as done.
#pragma once

#include "platform/RunLoop.h"

#include <functional>
#include <memory>

namespace vt {

class ConfigurationWriter {
  public:
    // `keepAlive` is held until the thread ends: what the writes work with.
    explicit ConfigurationWriter(RunLoop& runLoop, std::shared_ptr<const void> keepAlive = nullptr);
    ~ConfigurationWriter();
    ConfigurationWriter(const ConfigurationWriter&) = delete;
    ConfigurationWriter& operator=(const ConfigurationWriter&) = delete;

    // While the main thread waits it serves the calls of others.
    bool run(std::function<bool()> write);

  private:
    struct Queue;
    RunLoop& _runLoop;
    std::shared_ptr<Queue> _queue;
};

} // namespace vt
