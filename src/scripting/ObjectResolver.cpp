#include "scripting/ObjectResolver.h"

namespace vt {

std::optional<EventDescriptor> resolvedObjectSpecifier(const EventDescriptor& descriptor, ObjectResolver& resolver) {
    if (descriptor.type() != descriptortype::typeObjectSpecifier) return descriptor;
    return resolver.resolve(descriptor);
}

} // namespace vt
