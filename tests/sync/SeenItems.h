// What a comparison would have seen on the drive, for a guard of the commit.
#pragma once

#include "sync/workfolders/CommitGuard.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vt::test {

struct SeenItems {
    std::map<std::string, SeenOnDrive> items; // by their final paths
    [[nodiscard]] std::function<std::optional<SeenOnDrive>(const std::string&)> answer() const {
        return [this](const std::string& path) {
            const auto found = items.find(path);
            return found == items.end() ? std::nullopt : std::optional(found->second);
        };
    }
};

} // namespace vt::test
