#include "mediafilter/VTSpecialContentValidator.h"

namespace vt {

bool VTPhotoBoothSpecialContentValidator::matchSpecialContent(std::string_view path, bool& shouldCopy,
                                                              MediaFacts& facts) const {
    shouldCopy = false;
    if (const auto library = facts.photoBoothLibrary()) shouldCopy = path.starts_with(*library);
    return true;
}

} // namespace vt
