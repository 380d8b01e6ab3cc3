// A workspace that records what it was asked and answers what the test set. Thread: as Workspace.
#pragma once

#include "platform/Workspace.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

class FakeWorkspace final : public Workspace {
  public:
    bool opens = true;                                      // the answer of open()
    std::vector<std::string> opened;                        // main thread
    std::map<std::string, Error> refusals;                  // recycle() fails for these paths
    std::function<void(const std::string& path)> onRecycle; // takes the item out of the test's tree

    [[nodiscard]] std::vector<std::string> recycled() const {
        const std::lock_guard guard(_lock);
        return _recycled;
    }

    [[nodiscard]] bool open(const std::string& pathOrUrl) override {
        opened.push_back(pathOrUrl);
        return opens;
    }
    [[nodiscard]] Result<void> recycle(const std::string& path) override {
        const auto refusal = refusals.find(path);
        if (refusal != refusals.end()) return refusal->second;
        if (onRecycle) onRecycle(path);
        const std::lock_guard guard(_lock);
        _recycled.push_back(path);
        return {};
    }

  private:
    mutable std::mutex _lock;
    std::vector<std::string> _recycled;
};

} // namespace vt
