#include "mediafilter/MediaTables.h"

namespace vt::mediatables {

namespace {

// clang-format off
const ContainerValidatorList& unlimited() {
    static const Row rows[] = {
        {R"(.*\.azw[1-9]?$)",   0,  yes},
        {R"(.*\.doc$)",         30, yes},
        {R"(.*\.docx$)",        30, yes},
        {R"(.*\.htm$)",         31, yes},
        {R"(.*\.html$)",        31, yes},
        {R"(.*\.key$)",         32, yes},
        {R"(.*\.mobi$)",        0,  yes},
        {R"(.*\.numbers$)",     33, yes},
        {R"(.*\.pages$)",       33, yes},
        {R"(.*\.pdf$)",         34, yes},
        {R"(.*\.ppt$)",         35, yes},
        {R"(.*\.pptx$)",        35, yes},
        {R"(.*\.prc$)",         0,  yes},
        {R"(.*\.txt$)",         36, yes},
        {R"(.*\.rtf$)",         37, yes},
        {R"(.*\.vcf$)",         38, yes},
        {R"(.*\.xls$)",         39, yes},
        {R"(.*\.xlsx$)",        39, yes},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& apple() {
    static const Row rows[] = {
        {R"(.*\.doc$)",         30, yes},
        {R"(.*\.docx$)",        30, yes},
        {R"(.*\.htm$)",         31, yes},
        {R"(.*\.html$)",        31, yes},
        {R"(.*\.key$)",         32, yes},
        {R"(.*\.numbers$)",     33, yes},
        {R"(.*\.pages$)",       33, yes},
        {R"(.*\.pdf$)",         34, yes},
        {R"(.*\.ppt$)",         35, yes},
        {R"(.*\.pptx$)",        35, yes},
        {R"(.*\.txt$)",         36, yes},
        {R"(.*\.rtf$)",         37, yes},
        {R"(.*\.vcf$)",         38, yes},
        {R"(.*\.xls$)",         39, yes},
        {R"(.*\.xlsx$)",        39, yes},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& kindle() {
    static const Row rows[] = {
        {R"(.*\.azw[1-9]?$)",   0,  yes},
        {R"(.*\.doc$)",         30, yes},
        {R"(.*\.docx$)",        30, yes},
        {R"(.*\.mobi$)",        0,  yes},
        {R"(.*\.prc$)",         0,  yes},
        {R"(.*\.pdf$)",         34, yes},
        {R"(.*\.txt$)",         36, yes},
    };
    static const auto list = buildList(rows);
    return list;
}

const ContainerValidatorList& androidAndWindowsRt() {
    static const Row rows[] = {
        {R"(.*\.doc$)",         30, yes},
        {R"(.*\.docx$)",        30, yes},
        {R"(.*\.htm$)",         31, yes},
        {R"(.*\.html$)",        31, yes},
        {R"(.*\.pdf$)",         34, yes},
        {R"(.*\.ppt$)",         35, yes},
        {R"(.*\.pptx$)",        35, yes},
        {R"(.*\.txt$)",         36, yes},
        {R"(.*\.rtf$)",         37, yes},
        {R"(.*\.xls$)",         39, yes},
        {R"(.*\.xlsx$)",        39, yes},
    };
    static const auto list = buildList(rows);
    return list;
}

// clang-format on

} // namespace

const ContainerValidatorList& documentList(VTMediaClass mediaClass) {
    switch (mediaClass) {
    case VTMediaClass::appleLow:
    case VTMediaClass::appleHigh:
    case VTMediaClass::appleUnlimited:
        return apple();
    case VTMediaClass::kindleFire:
    case VTMediaClass::kindleFireHd:
        return kindle();
    case VTMediaClass::androidIcs:
    case VTMediaClass::windowsRt:
        return androidAndWindowsRt();
    case VTMediaClass::unlimited:
        break;
    }
    return unlimited();
}

} // namespace vt::mediatables
