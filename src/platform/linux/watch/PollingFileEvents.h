// Folder events found by looking from time to time: the twin for systems and places where the kernel tells of none.
// Each mount has a thread of its own, so that one that hangs holds up no other. Thread: main. Owns: the threads; the
// destructor does not wait for them.
#pragma once

#include "platform/linux/watch/StreamTable.h"
#include "platform/linux/watch/WatchLoop.h"

namespace vt {

class PollingFileEvents final : public FileEvents {
  public:
    PollingFileEvents(RunLoop& runLoop, const WatchOptions& options);

    [[nodiscard]] std::unique_ptr<FileEventStream> stream(const std::string& path, const FileEventSettings& settings,
                                                          std::function<void()> changed) override;
    void leaveOut(const std::vector<std::string>& folders) override;

  private:
    StreamTable _streams;
};

} // namespace vt
