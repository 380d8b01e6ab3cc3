// The class names of attached validators, for tests that compare lists.
#pragma once

#include "mediafilter/CodecValidators.h"
#include "mediafilter/VTSpecialContentValidator.h"

#include <map>
#include <string>
#include <typeindex>
#include <typeinfo>

namespace vt {

#define VT_NAMED(type)                                                                                                 \
    { std::type_index(typeid(type)), #type }

inline const std::map<std::type_index, std::string>& validatorNames() {
    static const std::map<std::type_index, std::string> names = {
        VT_NAMED(VTMP4CodecValidator),
        VT_NAMED(VTH264HighCodecValidator),
        VT_NAMED(VTH264LowCodecValidator),
        VT_NAMED(VTDRMVHighCodecValidator),
        VT_NAMED(VTDRMVLowCodecValidator),
        VT_NAMED(VTWindowsMJPEGCodecValidator),
        VT_NAMED(VTMP4UnlimitedCodecValidator),
        VT_NAMED(VTH264UnlimitedCodecValidator),
        VT_NAMED(VTDRMVUnlimitedCodecValidator),
        VT_NAMED(VTUnlimitedWindowsMJPEGCodecValidator),
        VT_NAMED(VTUnlimitedPJPEGCodecValidator),
        VT_NAMED(VTH263UnlimitedCodecValidator),
        VT_NAMED(VTMPEG4KindleFireCodecValidator),
        VT_NAMED(VTMPEG4WinRTLimitedCodecValidator),
        VT_NAMED(VTH263KindleFireCodecValidator),
        VT_NAMED(VTH263KindleFireHDCodecValidator),
        VT_NAMED(VTH264WinRTCodecValidator),
        VT_NAMED(VTH264KindleFireCodecValidator),
        VT_NAMED(VTH264KindleFireHDCodecValidator),
        VT_NAMED(VTH264WindowsRTCodecValidator),
        VT_NAMED(VTAudioOnlyCodecValidator),
        VT_NAMED(VTUnlimitedAudioOnlyCodecValidator),
        VT_NAMED(VTAudioBookCodecValidator),
        VT_NAMED(VTUnlimitedAudioBookCodecValidator),
        VT_NAMED(VTAudioKindleFireCodecValidator),
        VT_NAMED(VTAudioWindowsRTCodecValidator),
        VT_NAMED(VTAudioAACCodecValidator),
        VT_NAMED(VTPhotoBoothSpecialContentValidator),
    };
    return names;
}

#undef VT_NAMED

template <typename Validator> std::string validatorName(const Validator& validator) {
    const auto found = validatorNames().find(std::type_index(typeid(validator)));
    return found == validatorNames().end() ? "unnamed" : found->second;
}

} // namespace vt
