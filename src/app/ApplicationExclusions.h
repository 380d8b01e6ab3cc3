// The two tables of names and paths that no drive ever receives. Built once. Thread: any after construction.
#pragma once

#include "base/Paths.h"
#include "mediafilter/ExclusionTables.h"

namespace vt {

class ApplicationExclusions final : public ExclusionTables {
  public:
    explicit ApplicationExclusions(const HomePaths& homePaths);
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return _names; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return _paths; }

  private:
    std::vector<std::string> _names;
    std::vector<std::string> _paths;
};

} // namespace vt
