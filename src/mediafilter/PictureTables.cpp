#include "mediafilter/MediaTables.h"
#include "mediafilter/VTSpecialContentValidator.h"

namespace vt::mediatables {

namespace {

const VTPhotoBoothSpecialContentValidator photoBoothContent;

// Without anchors, and its dot is any character: the word after at least one character of a name is enough.
const VTContainerValidator& iPhotoLibrary() {
    static const auto& validator = buildValidator({".photolibrary", 0, yes});
    return validator;
}

// Matches every name; the special-content validator alone accepts.
const VTContainerValidator& photoBooth() {
    static const auto& validator = buildValidator({".*", 0, no, {}, nullptr, &photoBoothContent});
    return validator;
}

// clang-format off
const ContainerValidatorList& unlimited() {
    static const Row rows[] = {
        {R"(.*\.bmp$)",         25, yes},
        {R"(.*\.gif$)",         26, yes},
        {R"(.*\.jpeg$)",        27, yes},
        {R"(.*\.jpg$)",         27, yes},
        {R"(.*\.png$)",         28, yes},
        {R"(.*\.tif$)",         29, yes},
        {R"(.*\.tiff$)",        29, yes},
        {R"(.*\.webp$)",        0,  yes},
        held(iPhotoLibrary),
        held(photoBooth),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& apple() {
    static const Row rows[] = {
        {R"(.*\.bmp$)",         25, yes},
        {R"(.*\.gif$)",         26, yes},
        {R"(.*\.jpeg$)",        27, yes},
        {R"(.*\.jpg$)",         27, yes},
        {R"(.*\.png$)",         28, yes},
        {R"(.*\.tif$)",         29, yes},
        {R"(.*\.tiff$)",        29, yes},
        held(iPhotoLibrary),
        held(photoBooth),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindle() {
    static const Row rows[] = {
        {R"(.*\.bmp$)",         25, yes},
        {R"(.*\.gif$)",         26, yes},
        {R"(.*\.jpeg$)",        27, yes},
        {R"(.*\.jpg$)",         27, yes},
        {R"(.*\.png$)",         28, yes},
        held(iPhotoLibrary),
        held(photoBooth),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& android() {
    static const Row rows[] = {
        {R"(.*\.bmp$)",         25, yes},
        {R"(.*\.gif$)",         26, yes},
        {R"(.*\.jpeg$)",        27, yes},
        {R"(.*\.jpg$)",         27, yes},
        {R"(.*\.png$)",         28, yes},
        {R"(.*\.webp$)",        0,  yes},
        held(iPhotoLibrary),
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& windowsRt() {
    static const Row rows[] = {
        {R"(.*\.bmp$)",         25, yes},
        {R"(.*\.gif$)",         26, yes},
        {R"(.*\.jpeg$)",        27, yes},
        {R"(.*\.jpg$)",         27, yes},
        {R"(.*\.png$)",         28, yes},
        {R"(.*\.tif$)",         29, yes},
        {R"(.*\.tiff$)",        29, yes},
    };
    static const auto list = buildList(rows);
    return list;
}

// clang-format on

} // namespace

const ContainerValidatorList& pictureList(VTMediaClass mediaClass) {
    switch (mediaClass) {
    case VTMediaClass::appleLow:
    case VTMediaClass::appleHigh:
    case VTMediaClass::appleUnlimited:
        return apple();
    case VTMediaClass::androidIcs:
        return android();
    case VTMediaClass::kindleFire:
    case VTMediaClass::kindleFireHd:
        return kindle();
    case VTMediaClass::windowsRt:
        return windowsRt();
    case VTMediaClass::unlimited:
        break;
    }
    return unlimited();
}

} // namespace vt::mediatables
