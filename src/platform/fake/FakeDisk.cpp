#include "platform/fake/FakeDisk.h"

#include "base/Paths.h"

#include <algorithm>
#include <cctype>
#include <cerrno>

namespace vt {

namespace {

constexpr int mostLinks = 40;
constexpr std::size_t longestName = 255;

std::uint64_t bytesOf(const FakeNode& node) {
    std::uint64_t sum = node.content.size();
    for (const auto& [name, entry] : node.entries) sum += bytesOf(*entry);
    return sum;
}

bool isInvalid(const std::string& path) {
    return path.empty() || path.front() != '/' || path.find('\0') != std::string::npos;
}

} // namespace

FakeDisk::FakeDisk(const Clock& clock) : _clock(clock) {
    auto root = std::make_unique<FakeDiskVolume>();
    root->mountPoint = "/";
    root->device = ++_lastDevice;
    root->root = newNode(*root, FileKind::directory, 0755);
    _volumes.emplace("/", std::move(root));
}

FakeDiskVolume& FakeDisk::mount(const std::string& mountPoint, const DestinationCapabilities& capabilities) {
    const auto held = lock();
    std::string path;
    for (const std::string& component : paths::components(mountPoint)) {
        path = paths::join(path, component);
        Result<FakeSpot> spot = find(path, true);
        if (spot && !spot->node) insert(*spot, newNode(*spot->volume, FileKind::directory, 0755));
    }
    auto volume = std::make_unique<FakeDiskVolume>();
    volume->mountPoint = mountPoint;
    volume->device = ++_lastDevice;
    volume->capabilities = capabilities;
    volume->root = newNode(*volume, FileKind::directory, 0755);
    return *(_volumes[mountPoint] = std::move(volume));
}

void FakeDisk::unmount(const std::string& mountPoint) {
    const auto held = lock();
    _volumes.erase(mountPoint);
}

void FakeDisk::pull(const std::string& mountPoint, int code) {
    const auto held = lock();
    volumeOf(mountPoint).goneCode = code;
}

FakeDiskVolume* FakeDisk::mountedAt(const std::string& path) {
    const auto found = _volumes.find(path);
    return found == _volumes.end() ? nullptr : found->second.get();
}

FakeDiskVolume& FakeDisk::volumeOf(const std::string& path) {
    const auto held = lock();
    FakeDiskVolume* deepest = _volumes.at("/").get();
    for (const auto& [mountPoint, volume] : _volumes)
        if (paths::isAtOrBelow(path, mountPoint) && mountPoint.size() >= deepest->mountPoint.size())
            deepest = volume.get();
    return *deepest;
}

namespace {

bool equalsIgnoringCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

} // namespace

std::string FakeDisk::spelling(const FakeDiskVolume& volume, const FakeNode& folder, const std::string& name) {
    if (volume.capabilities.caseSensitive || folder.entries.contains(name)) return name;
    for (const auto& [spelled, node] : folder.entries)
        if (equalsIgnoringCase(spelled, name)) return spelled;
    return name;
}

Result<FakeSpot> FakeDisk::find(const std::string& path, bool follow, const std::string& fence) {
    if (isInvalid(path)) return Error::fromErrno(path.empty() ? ENOENT : EINVAL, path);
    std::vector<std::string> left = paths::components(path);
    std::reverse(left.begin(), left.end());
    FakeSpot spot;
    std::string at;
    std::vector<FakeSpot> above;
    for (int links = 0; !left.empty();) {
        const std::string component = std::move(left.back());
        left.pop_back();
        if (component == "/") {
            spot = FakeSpot{_volumes.at("/").get(), nullptr, "/", _volumes.at("/")->root};
            at = "/";
            above.clear();
        } else if (component == "..") {
            if (!above.empty()) spot = above.back(), above.pop_back();
            at = at == "/" ? at : paths::parent(at);
        } else if (component != ".") {
            if (!spot.node) return Error::fromErrno(ENOENT, path);
            if (!spot.node->attributes.isDirectory()) return Error::fromErrno(ENOTDIR, path);
            above.push_back(spot);
            const std::shared_ptr<FakeNode> folder = spot.node;
            spot.folder = folder;
            spot.name = spelling(*spot.volume, *folder, component);
            const auto found = folder->entries.find(spot.name);
            spot.node = found == folder->entries.end() ? nullptr : found->second;
            at = paths::join(at, spot.name);
            if (FakeDiskVolume* mounted = mountedAt(at)) spot = FakeSpot{mounted, nullptr, spot.name, mounted->root};
        }
        if (spot.volume->goneCode != 0) return Error::fromErrno(spot.volume->goneCode, path);
        if (!spot.node || !spot.node->attributes.isLink() || (left.empty() && !follow)) continue;
        if (++links > mostLinks) return Error::fromErrno(ELOOP, path);
        std::vector<std::string> target = paths::components(spot.node->content);
        left.insert(left.end(), target.rbegin(), target.rend());
        spot = above.back();
        above.pop_back();
        at = paths::parent(at);
    }
    if (!fence.empty() && !paths::isAtOrBelow(at, fence)) return Error::fromErrno(ELOOP, path);
    return spot;
}

int FakeDisk::refusalOfChange(const FakeSpot& spot) const {
    if (spot.volume->readOnly) return EROFS;
    if (!spot.folder) return EBUSY;
    const bool locked = spot.node && spot.node->attributes.immutable;
    return locked || spot.folder->attributes.immutable ? EPERM : 0;
}

int FakeDisk::refusalOfNew(const FakeSpot& spot, std::size_t bytes) {
    if (const int code = refusalOfChange(spot); code != 0) return code;
    if (spot.name.size() > longestName) return ENAMETOOLONG;
    const DestinationCapabilities& capabilities = spot.volume->capabilities;
    if (!capabilities.holdsName(spot.name)) return EINVAL;
    if (bytes > capabilities.largestFile) return EFBIG;
    return bytes > freeBytes(*spot.volume) ? ENOSPC : 0;
}

std::uint64_t FakeDisk::freeBytes(const FakeDiskVolume& volume) const {
    if (volume.capacity == ~0ULL) return ~0ULL;
    const std::uint64_t used = bytesOf(*volume.root);
    return used < volume.capacity ? volume.capacity - used : 0;
}

std::shared_ptr<FakeNode> FakeDisk::newNode(const FakeDiskVolume& volume, FileKind kind, std::uint32_t mode) {
    auto node = std::make_shared<FakeNode>();
    node->attributes.kind = kind;
    node->attributes.mode = mode;
    node->attributes.inode = ++_lastInode;
    node->attributes.born = _clock.now();
    touch(volume, *node);
    return node;
}

void FakeDisk::insert(const FakeSpot& spot, std::shared_ptr<FakeNode> node) {
    spot.folder->entries[spot.name] = std::move(node);
    touch(*spot.volume, *spot.folder);
}

void FakeDisk::erase(const FakeSpot& spot) {
    spot.folder->entries.erase(spot.name);
    touch(*spot.volume, *spot.folder);
}

void FakeDisk::touch(const FakeDiskVolume& volume, FakeNode& node) {
    node.attributes.modified = storedDate(volume, _clock.now());
    noteChange(node);
}

Date FakeDisk::storedDate(const FakeDiskVolume& volume, Date date) {
    const std::int64_t step = volume.capabilities.dateGranularity;
    if (step <= 1) return date;
    std::int64_t rest = date.nanoseconds() % step;
    if (rest < 0) rest += step;
    if (rest == 0) return date;
    return Date::fromNanoseconds(date.nanoseconds() - rest + (volume.roundsDatesUp ? step : 0));
}

FileAttributes FakeDisk::attributesOf(const FakeDiskVolume& volume, const FakeNode& node) {
    FileAttributes attributes = node.attributes;
    attributes.size = node.content.size();
    attributes.device = volume.device;
    return attributes;
}

} // namespace vt
