#include "mediafilter/CodecValidators.h"
#include "mediafilter/MediaTables.h"

namespace vt::mediatables {

namespace {

const VTAudioOnlyCodecValidator audioOnly;
const VTUnlimitedAudioOnlyCodecValidator audioOnlyUnlimited;
const VTAudioBookCodecValidator audioBook;
const VTUnlimitedAudioBookCodecValidator audioBookUnlimited;
const VTAudioKindleFireCodecValidator audioKindleFire;
const VTAudioWindowsRTCodecValidator audioWindowsRt;
const VTAudioAACCodecValidator audioAac;

const VTContainerValidator& kindleFireM4aAudio() {
    static const auto& validator = buildValidator({R"(.*\.m4a$)", 4, no, {&audioKindleFire}});
    return validator;
}

const VTContainerValidator& kindleFire3gpAudio() {
    static const auto& validator = buildValidator({R"(.*\.3gp$)", 4, no, {&audioKindleFire}});
    return validator;
}

// clang-format off
const ContainerValidatorList& apple() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.wav$)",         19, yes},
        {R"(.*\.aiff$)",        20, yes},
        {R"(.*\.m4a$)",         4,  yes, {&audioOnly}},
        {R"(.*\.m4b$)",         4,  yes, {&audioBook}},
        {R"(.*\.mp4$)",         2,  yes, {&audioOnly}},
        {R"(.*\.mov$)",         1,  yes, {&audioOnly}},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& appleUnlimited() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.wav$)",         19, yes},
        {R"(.*\.aiff$)",        20, yes},
        {R"(.*\.m4a$)",         4,  yes, {&audioOnlyUnlimited}},
        {R"(.*\.m4b$)",         4,  yes, {&audioBookUnlimited}},
        {R"(.*\.mp4$)",         2,  yes, {&audioOnlyUnlimited}},
        {R"(.*\.mov$)",         1,  yes, {&audioOnlyUnlimited}},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& unlimited() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.ac3$)",         21, yes},
        {R"(.*\.ec3$)",         21, yes},
        {R"(.*\.adt$)",         4,  yes},
        {R"(.*\.adts$)",        4,  yes},
        {R"(.*\.asf$)",         0,  yes},
        {R"(.*\.flac$)",        22, yes},
        {R"(.*\.imy$)",         0,  yes},
        {R"(.*\.m4a$)",         4,  yes},
        {R"(.*\.m4b$)",         4,  yes},
        {R"(.*\.mid$)",         0,  yes},
        {R"(.*\.midi$)",        0,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.mp4$)",         2,  yes},
        {R"(.*\.mxmf$)",        0,  yes},
        {R"(.*\.ogg$)",         23, yes},
        {R"(.*\.ota$)",         0,  yes},
        {R"(.*\.ra$)",          0,  yes},
        {R"(.*\.rm$)",          0,  yes},
        {R"(.*\.rmvb$)",        0,  yes},
        {R"(.*\.rtttl$)",       0,  yes},
        {R"(.*\.rtx$)",         0,  yes},
        {R"(.*\.wav$)",         19, yes},
        {R"(.*\.wma$)",         16, yes},
        {R"(.*\.m3u$)",         24, yes},
        {R"(.*\.pls$)",         0,  yes},
        {R"(.*\.mov$)",         1,  yes},
        {R"(.*\.xmf$)",         0,  yes},
        held(kindleFire3gpAudio),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& android() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.flac$)",        22, yes},
        {R"(.*\.imy$)",         0,  yes},
        {R"(.*\.mid$)",         0,  yes},
        {R"(.*\.midi$)",        0,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.mxmf$)",        0,  yes},
        {R"(.*\.ogg$)",         23, yes},
        {R"(.*\.ota$)",         0,  yes},
        {R"(.*\.rtttl$)",       0,  yes},
        {R"(.*\.rtx$)",         0,  yes},
        {R"(.*\.wav$)",         19, yes},
        {R"(.*\.xmf$)",         0,  yes},
        held(kindleFireM4aAudio),
        held(kindleFire3gpAudio),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindleFire() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.mid$)",         0,  yes},
        {R"(.*\.midi$)",        0,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.ogg$)",         23, yes},
        {R"(.*\.wav$)",         19, yes},
        held(kindleFireM4aAudio),
        held(kindleFire3gpAudio),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindleFireHd() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  yes},
        {R"(.*\.ac3$)",         21, yes},
        {R"(.*\.ec3$)",         21, yes},
        {R"(.*\.mid$)",         0,  yes},
        {R"(.*\.midi$)",        0,  yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.ogg$)",         23, yes},
        {R"(.*\.wav$)",         19, yes},
        held(kindleFireM4aAudio),
        held(kindleFire3gpAudio),
    };
    static const auto list = buildList(rows);
    return list;
}

// Without windowsRtWave(): that class takes no wave file.
const ContainerValidatorList& windowsRt() {
    static const Row rows[] = {
        {R"(.*\.aac$)",         4,  no, {&audioAac}},
        {R"(.*\.adt$)",         4,  no, {&audioAac}},
        {R"(.*\.adts$)",        4,  no, {&audioAac}},
        {R"(.*\.m4a$)",         4,  no, {&audioWindowsRt}},
        {R"(.*\.ac3$)",         21, yes},
        {R"(.*\.ec3$)",         21, yes},
        {R"(.*\.mp3$)",         18, yes},
        {R"(.*\.wma$)",         0,  yes},
    };
    static const auto list = buildList(rows);
    return list;
}

// clang-format on

} // namespace

const VTContainerValidator& windowsRtWave() {
    static const auto& validator = buildValidator({R"(.*\.wav$)", 4, no, {&audioWindowsRt}});
    return validator;
}

const ContainerValidatorList& audioList(VTMediaClass mediaClass) {
    switch (mediaClass) {
    case VTMediaClass::appleLow:
    case VTMediaClass::appleHigh:
        return apple();
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
