// Property lists through libplist, with hostile input refused before it gets there. Thread: any.
// Units: at most 64 MiB, 512 levels.
#pragma once

#include "platform/PropertyLists.h"

namespace vt {

class LinuxPropertyLists : public PropertyLists {
  public:
    [[nodiscard]] Result<Value> parse(std::string_view bytes) override;
    [[nodiscard]] Result<std::string> xml(const Value& value) override;
    [[nodiscard]] Result<std::string> binary(const Value& value) override;
};

} // namespace vt
