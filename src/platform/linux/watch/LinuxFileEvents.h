// Folder events from the kernel (inotify), for whole trees; where it tells of none, or has no room for more watches,
// the folders are looked at from time to time. Links are not followed. All waiting and scanning is done on a thread of
// its own. Thread: main. Owns: that thread; the destructor does not wait for it.
#pragma once

#include "platform/linux/watch/StreamTable.h"
#include "platform/linux/watch/WatchLoop.h"

namespace vt {

class LinuxFileEvents final : public FileEvents {
  public:
    LinuxFileEvents(RunLoop& runLoop, const WatchOptions& options);

    [[nodiscard]] std::unique_ptr<FileEventStream> stream(const std::string& path, const FileEventSettings& settings,
                                                          std::function<void()> changed) override;
    void leaveOut(const std::vector<std::string>& folders) override;

  private:
    StreamTable _streams;
};

} // namespace vt
