#include "config/utilities/Packages.h"

#include "base/Paths.h"

#include <algorithm>
#include <array>

namespace vt {
namespace {

// Sorted, lower case.
constexpr std::array<std::string_view, 54> packageExtensions = {
    "action",
    "aplibrary",
    "app",
    "appex",
    "band",
    "bundle",
    "component",
    "docset",
    "download",
    "dtbase2",
    "fcpbundle",
    "fcpproject",
    "framework",
    "garageband",
    "graffle",
    "imovielibrary",
    "imovieproject",
    "kext",
    "key",
    "keynote",
    "logic",
    "logicx",
    "mdimporter",
    "migratedphotolibrary",
    "mpkg",
    "musiclibrary",
    "nib",
    "numbers",
    "oo3",
    "pages",
    "photoboothlibrary",
    "photolibrary",
    "photoslibrary",
    "pkg",
    "playground",
    "plugin",
    "prefpane",
    "qlgenerator",
    "rcproject",
    "rtfd",
    "saver",
    "scptd",
    "scriv",
    "sparsebundle",
    "theater",
    "tvlibrary",
    "vst",
    "vst3",
    "wdgt",
    "workflow",
    "xcdatamodeld",
    "xcodeproj",
    "xcworkspace",
    "xpc",
};

} // namespace

bool isPackageName(std::string_view name) {
    std::string extension = paths::extension(name);
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return std::binary_search(packageExtensions.begin(), packageExtensions.end(), extension);
}

bool isPackagePath(FileService& files, const std::string& path) {
    if (!isPackageName(path)) return false;
    const auto attributes = files.attributes(path);
    return attributes.ok() && attributes->isDirectory();
}

} // namespace vt
