// What does the watching behind the streams, on a thread of its own. Thread: main. No call blocks.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

class RunLoop;

// A report of the backend about one watched root.
struct WatchReport {
    enum class Kind : std::uint8_t { changed, complete, completeWithoutGap };
    std::uint64_t root = 0;
    Kind kind = Kind::changed;
};

class WatchBackend {
  public:
    virtual ~WatchBackend() = default; // does not wait for the thread
    // `root` is new; `path` clean and absolute. Reports come after `latency` seconds.
    virtual void add(std::uint64_t root, const std::string& path, double latency) = 0;
    virtual void remove(std::uint64_t root) = 0;
    virtual void leaveOut(const std::vector<std::string>& folders) = 0;
};

// Takes work to the main thread while there is somebody who wants it: what still waits when it closes is dropped too.
// Thread: any; close() on the main thread.
class MainThreadMailbox : public std::enable_shared_from_this<MainThreadMailbox> {
  public:
    explicit MainThreadMailbox(RunLoop& runLoop) : _runLoop(&runLoop) {}
    void post(std::function<void()> work);
    void close();

  private:
    [[nodiscard]] bool isOpen();

    std::mutex _mutex;
    RunLoop* _runLoop; // null once it is closed
};

} // namespace vt
