// Names and paths that are never synced. Built once, never changed. Thread: any.
#pragma once

#include <string>
#include <vector>

namespace vt {

class ExclusionTables {
  public:
    virtual ~ExclusionTables() = default;
    [[nodiscard]] virtual const std::vector<std::string>& filteredFileNames() const = 0;
    [[nodiscard]] virtual const std::vector<std::string>& filteredFilePaths() const = 0; // standardised
};

} // namespace vt
