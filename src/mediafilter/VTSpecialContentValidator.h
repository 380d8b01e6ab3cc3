// Decides on a file's path alone. The only member of the family admits what lies in the Photo Booth library.
// Thread: any; validators hold no state.
#pragma once

#include "mediafilter/MediaFacts.h"

#include <string_view>

namespace vt {

class VTSpecialContentValidator {
  public:
    virtual ~VTSpecialContentValidator() = default;
    // True: decided, and `shouldCopy` is the decision. `facts` answers what is not in the path.
    [[nodiscard]] virtual bool matchSpecialContent(std::string_view path, bool& shouldCopy,
                                                   MediaFacts& facts) const = 0;

  protected:
    constexpr VTSpecialContentValidator() = default;
    VTSpecialContentValidator(const VTSpecialContentValidator&) = default;
    VTSpecialContentValidator& operator=(const VTSpecialContentValidator&) = default;
};

// Accepts a path that begins with the library's path: a plain string prefix, so "…/Photo Booth Library 2" begins with
// "…/Photo Booth Library" too. Refuses everything while no library is set.
class VTPhotoBoothSpecialContentValidator final : public VTSpecialContentValidator {
  public:
    constexpr VTPhotoBoothSpecialContentValidator() = default;
    [[nodiscard]] bool matchSpecialContent(std::string_view path, bool& shouldCopy, MediaFacts& facts) const override;
};

} // namespace vt
