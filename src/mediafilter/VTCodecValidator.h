// Looks at what a media file holds and either declines or decides whether it may be copied.
// Thread: any; validators hold no state, so one instance serves every drive.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"

#include <string>
#include <string_view>

namespace vt {

class VTCodecValidator {
  public:
    virtual ~VTCodecValidator() = default;
    // False: the file is not of this kind, `shouldCopy` is untouched and the next validator is asked. True: decided,
    // and `shouldCopy` is the decision.
    [[nodiscard]] virtual bool matchCharacterization(const MediaFileCharacterization& record,
                                                     bool& shouldCopy) const = 0;
    // For people: the validator's name ("H264 low"), and why it answers about this record as it does, as a clause
    // without a full stop.
    [[nodiscard]] virtual std::string_view name() const { return {}; }
    [[nodiscard]] virtual std::string reason(const MediaFileCharacterization&) const { return {}; }

  protected:
    constexpr VTCodecValidator() = default;
    VTCodecValidator(const VTCodecValidator&) = default;
    VTCodecValidator& operator=(const VTCodecValidator&) = default;
};

} // namespace vt
