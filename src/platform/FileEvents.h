// One stream of change events per watched folder, below it at any depth. Thread: main.
// A stream reports its own folder, whatever changed below it; pure reads and the agent's own files raise nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vt {

class FileEventStream {
  public:
    virtual ~FileEventStream() = default; // stops and releases
    [[nodiscard]] virtual std::uint64_t latestEventId() const = 0;
};

struct FileEventSettings {
    std::uint64_t sinceWhen = ~0ULL; // all ones: since now
    double latency = 0.5;            // seconds
    std::uint32_t flags = 0;
    // Called in place of `changed` when everything below has come to be watched: what changed before may have been
    // missed. Not called for a folder that was watched all the time. Empty: `changed` is called.
    std::function<void()> complete;
};

class FileEvents {
  public:
    virtual ~FileEvents() = default;
    // Null when the stream cannot be made (out of watches); `changed` runs on the main thread.
    [[nodiscard]] virtual std::unique_ptr<FileEventStream>
    stream(const std::string& path, const FileEventSettings& settings, std::function<void()> changed) = 0;
    // From now on what stands in these folders concerns no stream of a folder above them: the drives in service, whose
    // content is what the agent itself writes. Absolute paths; replaces those given before.
    virtual void leaveOut(const std::vector<std::string>& folders) = 0;
};

} // namespace vt
