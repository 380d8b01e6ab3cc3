// Looks at what a media file holds and either declines or decides whether it may be copied.
// Thread: any; validators hold no state, so one instance serves every drive.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"

namespace vt {

class VTCodecValidator {
  public:
    virtual ~VTCodecValidator() = default;
    // False: the file is not of this kind, `shouldCopy` is untouched and the next validator is asked. True: decided,
    // and `shouldCopy` is the decision.
    [[nodiscard]] virtual bool matchCharacterization(const MediaFileCharacterization& record,
                                                     bool& shouldCopy) const = 0;

  protected:
    constexpr VTCodecValidator() = default;
    VTCodecValidator(const VTCodecValidator&) = default;
    VTCodecValidator& operator=(const VTCodecValidator&) = default;
};

} // namespace vt
