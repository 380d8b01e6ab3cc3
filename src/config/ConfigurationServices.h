// What a drive's configuration works with. Owns: nothing; everything outlives the configuration and its last write.
#pragma once

#include "base/LogSink.h"
#include "config/HostIdentity.h"
#include "platform/Clock.h"
#include "platform/FileService.h"
#include "platform/Preferences.h"
#include "platform/PropertyLists.h"
#include "platform/SystemIdentity.h"

namespace vt {

struct ConfigurationServices {
    FileService& files; // bound to the drive where there is a drive guard
    FileContents& contents;
    PropertyLists& propertyLists;
    Preferences& preferences; // the foreign domains that the default list reads
    const SystemIdentity& system;
    const HostIdentity& host;
    const Clock& clock;
    LogSink& log;          // debugEnabled() is read once, at creation
    bool keepAside = true; // the user default "keep-aside"
};

} // namespace vt
