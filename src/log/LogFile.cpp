#include "log/LogFile.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "config/utilities/FileCreation.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vt {
namespace {

constexpr std::uint32_t logMode = 0644;
constexpr std::size_t endingLength = 256;
// Above the size limit, for a log that could not be dropped.
constexpr std::uint64_t readLimit = 16 * LogFile::sizeLimit;

// A log that cannot be made does not complain to itself.
class SystemLogSink : public LogSink {
  public:
    void logMessage(std::string_view text) override { systemLog(text); }
    void debugMessage(std::string_view /*text*/) override {}
    [[nodiscard]] bool debugEnabled() const override { return false; }
};

std::string_view endingOf(std::string_view text) {
    return text.substr(text.size() - std::min(text.size(), endingLength));
}

} // namespace

void LogFile::setPath(std::string path) {
    _path = std::move(path);
    forgetWritten();
}

std::string LogFile::followedOnce(const std::string& path) {
    const auto target = _files.readLink(path);
    if (!target) return path;
    return paths::isAbsolute(*target) ? *target : paths::join(paths::parent(path), *target);
}

bool LogFile::pruneIfTooLarge() {
    const auto item = _files.attributes(_path);
    if (!item) return false;
    const auto judged = item->isLink() ? _files.attributes(followedOnce(_path)) : item;
    if (!judged || !judged->isRegular() || judged->size <= sizeLimit) return false;
    forgetWritten();
    if (item->isRegular() && _files.move(_path, _path + ".old", Replace::always)) return true;
    return _files.remove(_path, {}).ok();
}

bool LogFile::exists(bool create) {
    const bool pruned = pruneIfTooLarge();
    if (_files.attributesFollowing(_path)) return false;
    if (!pruned && !create) return false;
    SystemLogSink sink;
    // No mode of the file's own: the folders made on the way would get it too, and nobody could enter them.
    return createFileAtPath(_files, _contents, sink, _path, "", nullptr, true, false);
}

std::optional<std::string> LogFile::read() {
    auto bytes = _contents.read(followedOnce(_path), readLimit);
    if (!bytes) return std::nullopt;
    return paths::displayText(*bytes);
}

bool LogFile::write(const std::string& path, std::string_view text) {
    const std::string target = followedOnce(path);
    if (leadsToNoFile(path, target)) return false;
    if (path == _path && canContinue(target, text)) {
        const auto rest = text.substr(static_cast<std::size_t>(_written->size));
        if (rest.empty()) return true;
        if (_contents.append(target, rest)) {
            remember(target, text);
            return true;
        }
    }
    if (!_contents.writeAtomically(target, text, logMode)) return false;
    if (path == _path) remember(target, text);
    return true;
}

bool LogFile::leadsToNoFile(const std::string& path, const std::string& target) {
    if (target == path) return false;
    const auto item = _files.attributesFollowing(target);
    return item && item->kind == FileKind::other;
}

bool LogFile::canContinue(const std::string& path, std::string_view text) {
    if (!_written || text.size() < _written->size) return false;
    const auto item = _files.attributes(path);
    if (!item || !item->isRegular()) return false;
    if (item->device != _written->device || item->inode != _written->inode || item->size != _written->size)
        return false;
    return endingOf(text.substr(0, static_cast<std::size_t>(_written->size))) == _written->ending;
}

void LogFile::remember(const std::string& path, std::string_view text) {
    forgetWritten();
    const auto item = _files.attributes(path);
    if (!item || item->size != text.size()) return;
    _written = Written{item->device, item->inode, item->size, std::string(endingOf(text))};
}

} // namespace vt
