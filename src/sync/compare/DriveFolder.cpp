#include "sync/compare/DriveFolder.h"

#include "base/Paths.h"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <utility>

namespace vt {

namespace {
constexpr std::size_t notThere = ~std::size_t{0};
}

DriveFolder::DriveFolder(FileService& files, std::string path, NameRule rule)
    : _files(files), _path(std::move(path)), _rule(rule) {
    auto listing = _files.list(_path);
    _listed = listing.ok();
    _missing = listing.code() == ENOENT;
    if (!_listed) return;
    _entries = std::move(*listing);
    _found.resize(_entries.size());
    _byName.resize(_entries.size());
    std::iota(_byName.begin(), _byName.end(), 0U);
    std::sort(_byName.begin(), _byName.end(), [this](auto a, auto b) { return _entries[a].name < _entries[b].name; });
    if (_rule.caseSensitive()) return;
    _byKey.reserve(_entries.size());
    for (std::uint32_t i = 0; i < _entries.size(); ++i) _byKey.emplace_back(_rule.key(_entries[i].name), i);
    std::sort(_byKey.begin(), _byKey.end());
}

std::size_t DriveFolder::positionOf(std::string_view name) {
    const auto exact = std::lower_bound(_byName.begin(), _byName.end(), name,
                                        [this](auto i, std::string_view wanted) { return _entries[i].name < wanted; });
    if (exact != _byName.end() && _entries[*exact].name == name) return *exact;
    if (_rule.caseSensitive()) return notThere;
    const std::string key = _rule.key(name);
    const auto alike =
        std::lower_bound(_byKey.begin(), _byKey.end(), key,
                         [](const auto& entry, const std::string& wanted) { return entry.first < wanted; });
    if (alike != _byKey.end() && alike->first == key) return alike->second;
    return askTheDrive(name);
}

// Letters that our own rule does not know: the drive's answer to the name itself decides.
std::size_t DriveFolder::askTheDrive(std::string_view name) {
    if (_entries.empty() ||
        std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return notThere;
    const auto attributes = _files.attributes(paths::join(_path, name));
    if (!attributes) return notThere;
    if (_byInode.empty()) {
        _byInode.resize(_entries.size());
        std::iota(_byInode.begin(), _byInode.end(), 0U);
        std::sort(_byInode.begin(), _byInode.end(), [this](auto a, auto b) { return inodeOf(a) < inodeOf(b); });
    }
    auto alike = std::lower_bound(_byInode.begin(), _byInode.end(), attributes->inode,
                                  [this](auto i, std::uint64_t wanted) { return inodeOf(i) < wanted; });
    for (; alike != _byInode.end() && inodeOf(*alike) == attributes->inode; ++alike)
        if (_entries[*alike].attributes.device == attributes->device) return *alike;
    return notThere;
}

const DirectoryEntry* DriveFolder::find(std::string_view name, bool& secondName) {
    secondName = false;
    const std::size_t position = positionOf(name);
    if (position == notThere) return nullptr;
    secondName = _found[position];
    _found[position] = true;
    return &_entries[position];
}

} // namespace vt
