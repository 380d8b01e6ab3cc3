#include "app/ApplicationExclusions.h"

namespace vt {

ApplicationExclusions::ApplicationExclusions(const HomePaths& homePaths)
    : _names{".DS_Store", ".Spotlight-V100", ".hotfiles.btree", ".Trash",
             ".Trashes",  ".localized",      ".ipspot_update",  ".Z_VT_W"} {
    // "/Volume" is singular on purpose: paths are compared whole, so it leaves "/Volumes" and all below it alone.
    for (const char* path : {"/Applications", "/Library", "/Volume", "/tmp", "/var", "/usr", "/bin", "/sbin", "/etc",
                             "/dev", "/System", "~/.Z_VT_W"})
        _paths.push_back(homePaths.standardise(path));
}

} // namespace vt
