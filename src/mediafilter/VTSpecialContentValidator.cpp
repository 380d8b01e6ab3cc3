#include "mediafilter/VTSpecialContentValidator.h"

namespace vt {

bool VTPhotoBoothSpecialContentValidator::matchSpecialContent(std::string_view path, bool& shouldCopy,
                                                              MediaFacts& facts) const {
    shouldCopy = false;
    const auto library = facts.photoBoothLibrary();
    if (library && !library->empty()) shouldCopy = path.starts_with(*library); // an empty text is no text's prefix
    return true;
}

} // namespace vt
