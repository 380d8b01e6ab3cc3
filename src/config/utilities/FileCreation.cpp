#include "config/utilities/FileCreation.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/DateConversions.h"

#include <cerrno>
#include <vector>

namespace vt {
namespace {

constexpr std::uint32_t defaultFileMode = 0644;
constexpr std::uint32_t defaultFolderMode = 0755;

enum class Found { nothing, folder, somethingElse };

Found lookFollowingOneLink(FileService& files, const std::string& path) {
    auto attributes = files.attributes(path);
    if (attributes.ok() && attributes->isLink()) {
        const auto target = files.readLink(path);
        if (!target) return Found::nothing;
        attributes = files.attributes(paths::isAbsolute(*target) ? *target : paths::join(paths::parent(path), *target));
    }
    if (!attributes) return attributes.code() == ENOENT ? Found::nothing : Found::somethingElse;
    return attributes->isDirectory() ? Found::folder : Found::somethingElse;
}

bool makeOneFolder(FileService& files, const std::string& path, const std::uint32_t* mode, bool creatingOnPushkey) {
    const auto made = files.makeDirectory(path, mode != nullptr ? *mode : defaultFolderMode);
    // Another program may have been faster.
    if (!made) return made.code() == EEXIST && lookFollowingOneLink(files, path) == Found::folder;
    if (creatingOnPushkey) setSyncBackupDateTo(Date::missing(), path);
    return true;
}

bool tryToCreate(FileContents& fileContents, const std::string& path, std::string_view contents,
                 const std::uint32_t* mode) {
    const std::uint32_t bits = mode != nullptr ? *mode : defaultFileMode;
    const auto created = fileContents.create(path, contents, bits);
    if (created) return true;
    return created.code() == EEXIST && fileContents.writeAtomically(path, contents, bits).ok();
}

} // namespace

bool createFileAtPath(FileService& files, FileContents& fileContents, LogSink& log, const std::string& path,
                      std::string_view contents, const std::uint32_t* mode, bool createPathElements,
                      bool creatingOnPushkey) {
    bool created = tryToCreate(fileContents, path, contents, mode);
    if (!created && createDirectoryAtPath(files, paths::parent(path), mode, createPathElements, creatingOnPushkey)) {
        created = tryToCreate(fileContents, path, contents, mode);
        if (!created) log.logMessage(localisedText("Unable to create file at %@.", {paths::displayText(path)}));
    }
    if (created && creatingOnPushkey) setSyncBackupDateTo(Date::missing(), path);
    return created;
}

bool createDirectoryAtPath(FileService& files, const std::string& path, const std::uint32_t* mode, bool recurse,
                           bool creatingOnPushkey) {
    const std::string standardised = paths::clean(path);
    // From the nearest parent that is there down to the path: a loop, because a path may have thousands of components.
    std::vector<std::string> missing;
    if (recurse) {
        std::string parent = paths::parent(standardised);
        while (!parent.empty()) {
            const Found found = lookFollowingOneLink(files, parent);
            if (found == Found::somethingElse) return false;
            if (found == Found::folder) break;
            missing.push_back(parent);
            if (parent == "/") break;
            parent = paths::parent(parent);
        }
    }
    while (!missing.empty()) {
        if (!makeOneFolder(files, missing.back(), mode, creatingOnPushkey)) return false;
        missing.pop_back();
    }
    switch (lookFollowingOneLink(files, standardised)) {
    case Found::folder:
        return true;
    case Found::somethingElse:
        return false;
    case Found::nothing:
        break;
    }
    return makeOneFolder(files, standardised, mode, creatingOnPushkey);
}

} // namespace vt
