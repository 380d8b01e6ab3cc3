#include "sync/owed/DriveKey.h"

#include "config/utilities/TypedGetters.h"

namespace vt {

std::string driveKey(VolumeService& volumes, const std::string& mountPoint, const std::optional<std::string>& uuid) {
    const auto stat = volumes.statVolume(mountPoint);
    if (stat && stat->mountedFrom.starts_with("/dev/diskf")) return "folder:" + mountPoint;
    if (const auto description = volumes.describe(mountPoint)) {
        for (const char* key : {diskdescription::volumeIdentity, diskdescription::volumeUuid})
            if (const std::string* identity = stringForKey(*description, key))
                if (!identity->empty()) return "volume:" + *identity;
        if (stat && boolForKey(*description, diskdescription::volumeNetwork)) return "share:" + stat->mountedFrom;
    }
    if (uuid && !uuid->empty()) return "volume:" + *uuid;
    return "path:" + mountPoint;
}

} // namespace vt
