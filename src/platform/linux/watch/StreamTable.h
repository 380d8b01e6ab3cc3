// The streams of the main thread and the roots that they share: all streams of one path are served by one watched root,
// and a root outlives its last stream for a while, so that taking streams down and making them again loses nothing.
// Thread: main. Owns: the roots' entries and grace timers; streams may outlive the table.
#pragma once

#include "platform/FileEvents.h"
#include "platform/RunLoop.h"
#include "platform/linux/watch/WatchBackend.h"

#include <chrono>
#include <memory>

namespace vt {

class StreamTable {
  public:
    StreamTable(RunLoop& runLoop, std::chrono::milliseconds grace);
    ~StreamTable();
    StreamTable(const StreamTable&) = delete;
    StreamTable& operator=(const StreamTable&) = delete;

    // Before the first stream.
    void setBackend(std::unique_ptr<WatchBackend> backend);
    [[nodiscard]] WatchBackend& backend() const;
    // For the backend: takes a report from any thread to the streams of its root.
    [[nodiscard]] std::function<void(WatchReport)> reporter() const;
    // The same for any other work.
    [[nodiscard]] std::shared_ptr<MainThreadMailbox> mailbox() const { return _mailbox; }

    [[nodiscard]] std::unique_ptr<FileEventStream> stream(const std::string& path, const FileEventSettings& settings,
                                                          std::function<void()> changed);

  private:
    struct Root;
    struct Record;
    struct State;
    class Stream;
    std::shared_ptr<MainThreadMailbox> _mailbox;
    std::shared_ptr<State> _state;
};

} // namespace vt
