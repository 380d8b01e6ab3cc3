#include "mediafilter/MediaClasses.h"

#include "mediafilter/MediaTables.h"

namespace vt {

namespace {

// Builds every list before main() runs, while the process has one thread and its first locale.
class VTMediaFilterStaticInit {
  public:
    VTMediaFilterStaticInit() {
        for (std::int32_t value = 0; value <= static_cast<std::int32_t>(VTMediaClass::windowsRt); ++value)
            for (const MediaKind kind : mediaKinds)
                static_cast<void>(mediaList(static_cast<VTMediaClass>(value), kind));
        static_cast<void>(mediatables::windowsRtWave());
    }
};

const VTMediaFilterStaticInit staticInit;

} // namespace

VTMediaClass mediaClassForDeviceFilter(std::int32_t filter) {
    switch (filter) {
    case 1:
        return VTMediaClass::appleHigh;
    case 2:
        return VTMediaClass::appleUnlimited;
    case 3:
        return VTMediaClass::appleHigh; // the same class as 1 on purpose: two players, one ability
    case 4:
        return VTMediaClass::appleLow;
    case 5:
        return VTMediaClass::androidIcs;
    case 6:
        return VTMediaClass::kindleFire;
    case 7:
        return VTMediaClass::kindleFireHd;
    case 8:
        return VTMediaClass::windowsRt;
    default:
        return VTMediaClass::unlimited;
    }
}

const char* mediaClassName(VTMediaClass mediaClass) {
    switch (mediaClass) {
    case VTMediaClass::unlimited:
        break;
    case VTMediaClass::appleLow:
        return "Apple, low";
    case VTMediaClass::appleHigh:
        return "Apple, high";
    case VTMediaClass::appleUnlimited:
        return "Apple, unlimited";
    case VTMediaClass::androidIcs:
        return "Android ICS";
    case VTMediaClass::kindleFire:
        return "Kindle Fire";
    case VTMediaClass::kindleFireHd:
        return "Kindle Fire HD";
    case VTMediaClass::windowsRt:
        return "Windows RT";
    }
    return "unlimited";
}

const char* mediaKindName(MediaKind kind) {
    switch (kind) {
    case MediaKind::movies:
        return "movies";
    case MediaKind::music:
        return "music";
    case MediaKind::pictures:
        return "pictures";
    case MediaKind::documents:
        break;
    }
    return "documents";
}

const ContainerValidatorList& mediaList(VTMediaClass mediaClass, MediaKind kind) {
    switch (kind) {
    case MediaKind::movies:
        return mediatables::videoList(mediaClass);
    case MediaKind::music:
        return mediatables::audioList(mediaClass);
    case MediaKind::pictures:
        return mediatables::pictureList(mediaClass);
    case MediaKind::documents:
        break;
    }
    return mediatables::documentList(mediaClass);
}

} // namespace vt
