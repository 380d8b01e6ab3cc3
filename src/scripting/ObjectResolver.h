// Finds what an object specifier names ("the property p of container c"). Thread: main.
// Errors: null for what does not exist; nothing is raised.
#pragma once

#include "base/EventDescriptor.h"

#include <optional>

namespace vt {

class ObjectResolver {
  public:
    virtual ~ObjectResolver() = default;
    // `specifier` is of type "obj ".
    [[nodiscard]] virtual std::optional<EventDescriptor> resolve(const EventDescriptor& specifier) = 0;
};

// A descriptor that is no object specifier comes back as it is; a specifier is resolved, null when that fails.
[[nodiscard]] std::optional<EventDescriptor> resolvedObjectSpecifier(const EventDescriptor& descriptor,
                                                                     ObjectResolver& resolver);

} // namespace vt
