#include "sync/FileSystemFacts.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/TypedGetters.h"
#include "sync/DiskSize.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vt {

namespace {

// File systems of the platform itself; every folder drive is on one of them.
constexpr std::array nativeKinds = {"ext2", "ext3", "ext4", "xfs", "btrfs", "f2fs", "tmpfs", "overlay"};

bool isNative(const std::string& kind) {
    return std::any_of(nativeKinds.begin(), nativeKinds.end(), [&](const char* native) { return kind == native; });
}

bool beginsOrEndsWithNtfs(const std::string& kind) {
    return kind.starts_with("NTFS") || kind.ends_with("NTFS");
}

std::string textForKey(const Value::Dictionary& dictionary, const char* key) {
    const std::string* text = stringForKey(dictionary, key);
    return text != nullptr ? *text : std::string();
}

std::string upperCase(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string withoutDev(const std::string& device) {
    constexpr std::string_view devices = "/dev/";
    return device.starts_with(devices) ? device.substr(devices.size()) : device;
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

// A text as one word of a shell command, in double quotes.
std::string shellQuoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\' || c == '$' || c == '`') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

} // namespace

FileSystemFacts::FileSystemFacts(std::string mountPoint, Services services)
    : _mountPoint(std::move(mountPoint)), _services(std::move(services)) {}

void FileSystemFacts::initFSVars() {
    const std::scoped_lock lock(_mutex);
    if (_services.runningOnLeopardOrLater())
        initFSVars10_5();
    else
        initFSVars10_4();
}

void FileSystemFacts::initFSVars10_5() {
    const std::scoped_lock lock(_mutex);
    _fsIsCompatible = false;
    _fsIsNTFS = false;
    _fsLimit4G = false; // also for FAT32, deliberately: only the older road sets the limit
    const auto description = _services.volumes.describe(_mountPoint);
    if (!description) return;

    if (boolForKey(*description, diskdescription::volumeNetwork)) {
        _fsIsWritable = _services.writableForUser(_mountPoint);
        _fsIsCompatible = true;
        _fsName = textForKey(*description, diskdescription::volumeName);
        _contentTag = textForKey(*description, diskdescription::volumePath);
        return;
    }
    const std::string kind = textForKey(*description, diskdescription::volumeKind);
    _fsName = _services.userFSNameForPersonality(kind);
    _contentTag = textForKey(*description, diskdescription::mediaContent);
    decideLocal(kind);
    _fsIsWritable = boolForKey(*description, diskdescription::mediaWritable);
    if (const Value* size = numberForKey(*description, diskdescription::mediaSize)) _totalBytes = size->unsignedValue();
    if (const auto stat = _services.volumes.statVolume(_mountPoint)) _freeBytes = stat->freeBytes;
}

void FileSystemFacts::decideLocal(const std::string& kind) {
    if (_contentTag == "DOS_FAT_32" || kind == "MS-DOS FAT32" || kind == "msdos" ||
        _contentTag.find("HFS") != std::string::npos || kind == "hfs") {
        _fsIsCompatible = true;
    } else if (!decideNtfs(kind)) {
        if (kind == "exfat")
            _fsIsCompatible = systemVersionAllowsExFat(_services.productVersion);
        else
            _fsIsCompatible = isNative(kind) || _diskSlice.starts_with("diskf");
    }
}

bool FileSystemFacts::decideNtfs(const std::string& kind) {
    if (_contentTag == "Windows_NTFS") {
        _fsIsCompatible = _services.contentHintIsFormattable(_contentTag);
    } else if (beginsOrEndsWithNtfs(kind)) {
        _fsIsCompatible = _services.personalityIsFormattable(kind);
        if (!_fsIsCompatible && kind == "ufsd_NTFS")
            _fsIsCompatible = _services.personalityIsFormattable(upperCase(kind));
    } else {
        return false;
    }
    _fsIsNTFS = true;
    return true;
}

void FileSystemFacts::initFSVars10_4() {
    const std::scoped_lock lock(_mutex);
    systemLog(formatText("initFSVars10_4 entered for slice %@", {_diskSlice}));
    std::string personality;
    std::string output;
    if (_services.execShellCommand("/usr/sbin/diskutil info " + shellQuoted(_diskSlice), output) == 0) {
        systemLog("initFSVars10_4 good cmdResult data is:\n" + output); // the command's own lines
        std::string_view rest = output;
        while (!rest.empty()) {
            const auto end = rest.find('\n');
            readCommandLine(rest.substr(0, end), personality);
            if (end == std::string_view::npos) break;
            rest.remove_prefix(end + 1);
        }
    }
    if (_contentTag == "DOS_FAT_32" || personality == "MS-DOS FAT32") {
        _fsIsCompatible = true;
        _fsLimit4G = true;
    } else if (_contentTag.find("HFS") != std::string::npos) {
        _fsIsCompatible = true;
    } else {
        (void)decideNtfs(personality);
    }
}

void FileSystemFacts::readCommandLine(std::string_view line, std::string& personality) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || line.find(':', colon + 1) != std::string_view::npos) return;
    const std::string key = trimmed(line.substr(0, colon));
    const std::string value = trimmed(line.substr(colon + 1));
    systemLog(formatText("initFSVars10_4 found key \"%@\" for value \"%@\" for slice %@", {key, value, _diskSlice}));
    if (key == "File System") {
        _fsName = _services.userFSNameForPersonality(value);
        personality = value;
    } else if (key == "Partition Type") {
        _contentTag = value;
    } else if (key == "Read Only" || key == "Read-Only Volume") {
        _fsIsWritable = value == "No";
    } else if (key == "Total Size") {
        _totalBytes = static_cast<std::uint64_t>(parseDiskSize(value));
    } else if (key == "Free Space" || key == "Volume Free Space") {
        _freeBytes = static_cast<std::uint64_t>(parseDiskSize(value));
    }
}

void FileSystemFacts::fillIfEmpty() {
    if (_contentTag.empty()) initFSVars();
}

bool FileSystemFacts::fsIsCompatible() {
    const std::scoped_lock lock(_mutex);
    fillIfEmpty();
    return _fsIsCompatible;
}

bool FileSystemFacts::fsIsNTFS() {
    const std::scoped_lock lock(_mutex);
    fillIfEmpty();
    return _fsIsNTFS;
}

bool FileSystemFacts::fsLimit4G() {
    const std::scoped_lock lock(_mutex);
    fillIfEmpty();
    return _fsLimit4G;
}

std::string FileSystemFacts::fsName() {
    const std::scoped_lock lock(_mutex);
    if (_fsName.empty()) initFSVars();
    if (_fsName.empty()) {
        systemLog("fsName no fsName after initFSVars");
        const std::string text = localised("unknown FS");
        _fsName = text == "unknown FS" ? "Unknown File System" : text;
    }
    return _fsName;
}

std::optional<std::uint64_t> FileSystemFacts::totalBytes() {
    const std::scoped_lock lock(_mutex);
    if (!_totalBytes) initFSVars();
    return _totalBytes;
}

std::optional<std::uint64_t> FileSystemFacts::freeBytes() {
    const std::scoped_lock lock(_mutex);
    if (!_freeBytes) initFSVars();
    return _freeBytes;
}

std::optional<std::string> FileSystemFacts::nameOfVolume(VolumeService& volumes, std::int16_t reference) {
    const auto mounted = volumes.mountedVolumes();
    if (reference < 1 || static_cast<std::size_t>(reference) > mounted.size()) return std::nullopt;
    const std::string& root = mounted[static_cast<std::size_t>(reference) - 1];
    const auto description = volumes.describe(root);
    if (!description) return std::nullopt;
    std::string name = textForKey(*description, diskdescription::volumeName);
    return name.empty() ? paths::lastComponent(root) : name;
}

std::optional<std::string> FileSystemFacts::deviceOfVolume(VolumeService& volumes, std::int16_t reference) {
    const auto mounted = volumes.mountedVolumes();
    if (reference < 1 || static_cast<std::size_t>(reference) > mounted.size()) return std::nullopt;
    const auto stat = volumes.statVolume(mounted[static_cast<std::size_t>(reference) - 1]);
    if (!stat) return std::nullopt;
    return withoutDev(stat->mountedFrom);
}

std::optional<std::string> FileSystemFacts::volumeName() const {
    const std::string slice = withoutDev(_diskSlice);
    const auto count =
        static_cast<std::int16_t>(std::min<std::size_t>(_services.volumes.mountedVolumes().size(), 32767));
    for (std::int16_t reference = 1; reference <= count; ++reference)
        if (deviceOfVolume(_services.volumes, reference) == slice) return nameOfVolume(_services.volumes, reference);
    return std::nullopt;
}

} // namespace vt
