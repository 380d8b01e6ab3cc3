#include "mediafilter/CodecValidators.h"
#include "mediafilter/MediaTables.h"

namespace vt::mediatables {

namespace {

const VTMP4CodecValidator mp4;
const VTH264HighCodecValidator h264High;
const VTH264LowCodecValidator h264Low;
const VTDRMVHighCodecValidator drmvHigh;
const VTDRMVLowCodecValidator drmvLow;
const VTWindowsMJPEGCodecValidator windowsMjpeg;
const VTMP4UnlimitedCodecValidator mp4Unlimited;
const VTH264UnlimitedCodecValidator h264Unlimited;
const VTDRMVUnlimitedCodecValidator drmvUnlimited;
const VTUnlimitedWindowsMJPEGCodecValidator windowsMjpegUnlimited;
const VTUnlimitedPJPEGCodecValidator pjpegUnlimited;
const VTH263UnlimitedCodecValidator h263Unlimited;
const VTMPEG4KindleFireCodecValidator mpeg4KindleFire;
const VTMPEG4WinRTLimitedCodecValidator mpeg4WindowsRt;
const VTH263KindleFireCodecValidator h263KindleFire;
const VTH263KindleFireHDCodecValidator h263KindleFireHd;
// Tests for H.264, whatever its name says: the Windows RT lists test H.264 twice and never admit H.263. Deliberate.
const VTH264WinRTCodecValidator h263WindowsRt;
const VTH264KindleFireCodecValidator h264KindleFire;
const VTH264KindleFireHDCodecValidator h264KindleFireHd;
const VTH264WindowsRTCodecValidator h264WindowsRt;

const VTContainerValidator& kindleFireMp4() {
    static const auto& validator = buildValidator({R"(.*\.mp4$)", 2, no, {&h264KindleFire, &h263KindleFire}});
    return validator;
}

const VTContainerValidator& kindleFire3gp() {
    static const auto& validator =
        buildValidator({R"(.*\.3gp$)", 0, no, {&mpeg4KindleFire, &h263KindleFire, &h264KindleFire}});
    return validator;
}

// clang-format off
const ContainerValidatorList& appleLow() {
    static const Row rows[] = {
        {R"(.*\.mp4$)",         2,  no, {&mp4, &h264Low, &drmvLow}},
        {R"(.*\.m4v$)",         3,  no, {&mp4, &h264Low, &drmvLow}},
        {R"(.*\.mov$)",         1,  no, {&mp4, &h264Low, &drmvLow}},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& appleHigh() {
    static const Row rows[] = {
        {R"(.*\.mp4$)",         2,  no, {&mp4, &h264High, &drmvHigh}},
        {R"(.*\.m4v$)",         3,  no, {&mp4, &h264High, &drmvHigh}},
        {R"(.*\.mov$)",         1,  no, {&mp4, &h264High, &drmvHigh}},
        {R"(.*\.avi$)",         5,  no, {&windowsMjpeg}},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& appleUnlimited() {
    static const Row rows[] = {
        {R"(.*\.mp4$)",         2,  no, {&mp4Unlimited, &h264Unlimited, &drmvUnlimited, &pjpegUnlimited}},
        // Type 2 on purpose, where the other lists give 3.
        {R"(.*\.m4v$)",         2,  no, {&mp4Unlimited, &h264Unlimited, &drmvUnlimited, &pjpegUnlimited}},
        {R"(.*\.mov$)",         1,  no, {&mp4Unlimited, &h264Unlimited, &drmvUnlimited, &pjpegUnlimited}},
        {R"(.*\.avi$)",         5,  no, {&windowsMjpegUnlimited}},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& unlimited() {
    static const Row rows[] = {
        {R"(.*\.3gp$)",         0,  yes},
        {R"(.*\.3g2$)",         0,  yes},
        {R"(.*\.3gp2$)",        0,  yes},
        {R"(.*\.3gpp$)",        0,  yes},
        {R"(.*\.asf$)",         0,  yes},
        {R"(.*\.avi$)",         5,  yes},
        {R"(.*\.dat$)",         0,  yes},
        {R"(.*\.divx$)",        7,  yes},
        {R"(.*\.flv$)",         0,  yes},
        {R"(.*\.ifo$)",         8,  yes},
        {R"(.*\.iso$)",         9,  yes},
        {R"(.*\.m2ts$)",        6,  yes},
        {R"(.*\.mkv$)",         10, yes},
        {R"(.*\.mp4$)",         2,  yes},
        {R"(.*\.m4v$)",         3,  yes},
        {R"(.*\.mp4v$)",        3,  yes},
        {R"(.*\.mpeg$)",        11, yes},
        {R"(.*\.mpg$)",         11, yes},
        {R"(.*\.mts$)",         12, yes},
        {R"(.*\.rm$)",          0,  yes},
        {R"(.*\.rmvb$)",        0,  yes},
        {R"(.*\.sami$)",        0,  yes},
        {R"(.*\.smi$)",         0,  yes},
        {R"(.*\.srt$)",         0,  yes},
        {R"(.*\.sub$)",         0,  yes},
        {R"(.*\.tp$)",          0,  yes},
        {R"(.*\.trp$)",         0,  yes},
        {R"(.*\.ts$)",          13, yes},
        {R"(.*\.vob$)",         14, yes},
        {R"(.*\.webm$)",        0,  yes},
        {R"(.*\.wm$)",          15, yes},
        {R"(.*\.wmv$)",         15, yes},
        {R"(.*\.xvid$)",        17, yes},
        {R"(.*\.mov$)",         1,  yes},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& android() {
    static const Row rows[] = {
        {R"(.*\.mkv$)",         10, yes},
        {R"(.*\.webm$)",        0,  yes},
        {R"(.*\.ts$)",          11, yes}, // type 11 here, 13 in the unlimited list: on purpose
        held(kindleFire3gp),
        held(kindleFireMp4),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindleFire() {
    static const Row rows[] = {
        {R"(.*\.webm$)",        0,  yes},
        held(kindleFireMp4),
        held(kindleFire3gp),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindleFireHd() {
    static const Row rows[] = {
        {R"(.*\.webm$)",        0,  yes},
        {R"(.*\.mp4$)",         2,  no, {&h264KindleFireHd, &h263KindleFireHd}},
        held(kindleFire3gp),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& windowsRt() {
    static const Row rows[] = {
        {R"(.*\.3gp$)",         0,  no, {&h263Unlimited, &h264Unlimited, &mp4Unlimited}},
        // Without its closing "$" on purpose: ".3g2" anywhere in a name matches.
        {R"(.*\.3g2)",          0,  no, {&h263Unlimited, &h264Unlimited, &mp4Unlimited}},
        {R"(.*\.3gp2$)",        0,  no, {&h263Unlimited, &h264Unlimited, &mp4Unlimited}},
        {R"(.*\.3gpp$)",        0,  no, {&h263Unlimited, &h264Unlimited, &mp4Unlimited}},
        {R"(.*\.m4v$)",         0,  no, {&h263WindowsRt, &h264WindowsRt, &mpeg4WindowsRt}},
        {R"(.*\.mp4v$)",        0,  no, {&h263WindowsRt, &h264WindowsRt, &mpeg4WindowsRt}},
        {R"(.*\.mp4$)",         0,  no, {&h263WindowsRt, &h264WindowsRt, &mpeg4WindowsRt}},
        {R"(.*\.mov$)",         0,  no, {&h263WindowsRt, &h264WindowsRt, &mpeg4WindowsRt}},
        {R"(.*\.asf$)",         0,  yes},
        {R"(.*\.wm$)",          0,  yes},
        {R"(.*\.wmv$)",         0,  yes},
        {R"(.*\.avi$)",         0,  yes},
    };
    static const auto list = buildList(rows);
    return list;
}

// clang-format on

} // namespace

const ContainerValidatorList& videoList(VTMediaClass mediaClass) {
    switch (mediaClass) {
    case VTMediaClass::appleLow:
        return appleLow();
    case VTMediaClass::appleHigh:
        return appleHigh();
    case VTMediaClass::appleUnlimited:
        return appleUnlimited();
    case VTMediaClass::androidIcs:
        return android();
    case VTMediaClass::kindleFire:
        return kindleFire();
    case VTMediaClass::kindleFireHd:
        return kindleFireHd();
    case VTMediaClass::windowsRt:
        return windowsRt();
    case VTMediaClass::unlimited:
        break;
    }
    return unlimited();
}

} // namespace vt::mediatables
