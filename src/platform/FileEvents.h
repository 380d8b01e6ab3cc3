// One stream of change events per watched folder, below it at any depth. Thread: main.
// A stream reports its own folder, whatever changed below it; pure reads and the agent's own files raise nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

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
};

class FileEvents {
  public:
    virtual ~FileEvents() = default;
    // Null when the stream cannot be made (out of watches); `changed` runs on the main thread.
    [[nodiscard]] virtual std::unique_ptr<FileEventStream>
    stream(const std::string& path, const FileEventSettings& settings, std::function<void()> changed) = 0;
};

} // namespace vt
