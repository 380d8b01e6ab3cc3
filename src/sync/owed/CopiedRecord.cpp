#include "sync/owed/CopiedRecord.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "sync/owed/OwedRecord.h"
#include "sync/owed/RecordText.h"

#include <charconv>
#include <utility>

namespace vt {

namespace {

constexpr std::string_view firstLine = "vantaro-copied 1";
constexpr std::uint64_t largestRecord = 1ULL << 30U;
constexpr std::uint32_t privateFile = 0600;

template <typename Number> std::optional<Number> numberIn(std::string_view word) {
    Number number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    return number;
}

} // namespace

CopiedRecord::CopiedRecord(FileContents& contents, std::string target, const std::string& stateHome,
                           std::string driveKey, std::function<void(const std::string&)> logLine)
    : _contents(contents), _target(std::move(target)), _driveKey(std::move(driveKey)),
      _path(paths::join(paths::join(paths::join(stateHome, "vantaro"), "drives"),
                        OwedRecord::stateName(_driveKey) + ".copied")),
      _logLine(std::move(logLine)) {}

void CopiedRecord::beginPass(bool enabled) {
    _enabled = enabled;
    _files.clear();
    _copiedNow.clear();
    if (_enabled) load();
}

void CopiedRecord::load() {
    const auto content = _contents.read(_path, largestRecord);
    if (!content) return;
    std::string_view text = *content;
    if (recordtext::nextLine(text) != firstLine ||
        recordtext::nextLine(text) != "drive " + recordtext::escaped(_driveKey))
        return;
    while (!text.empty()) {
        std::string_view line = recordtext::nextLine(text);
        const auto size = numberIn<std::uint64_t>(recordtext::nextWord(line));
        const auto modified = numberIn<std::int64_t>(recordtext::nextWord(line));
        if (size && modified && !line.empty())
            _files[recordtext::unescaped(line)].file = {*size, Date::fromNanoseconds(*modified)};
    }
}

std::string CopiedRecord::onDrive(const std::string& path) const {
    return path.starts_with(_target) ? path.substr(_target.size()) : path;
}

std::optional<CopiedFile> CopiedRecord::copiedTo(const std::string& path) {
    if (!_enabled) return std::nullopt;
    const auto found = _files.find(onDrive(path));
    if (found == _files.end()) return std::nullopt;
    found->second.asked = true;
    return found->second.file;
}

void CopiedRecord::wasCopied(const std::string& path, const FileAttributes& source) {
    if (_enabled && source.isRegular()) _copiedNow[onDrive(path)] = {source.size, source.modified};
}

void CopiedRecord::settle(bool committed, bool whole) {
    if (!_enabled) return;
    if (whole && committed) std::erase_if(_files, [](const auto& file) { return !file.second.asked; });
    for (const auto& [path, file] : _copiedNow) {
        // Nobody knows which of several contents the drive has then.
        if (committed)
            _files[path].file = file;
        else
            _files.erase(path);
    }
    _copiedNow.clear();
    save();
}

void CopiedRecord::save() {
    std::string text(firstLine);
    text += "\ndrive " + recordtext::escaped(_driveKey) + "\n";
    for (const auto& [path, remembered] : _files) {
        text += std::to_string(remembered.file.size) + " ";
        text += std::to_string(remembered.file.modified.nanoseconds()) + " " + recordtext::escaped(path) + "\n";
    }
    const auto written = _contents.writeAtomically(_path, text, privateFile);
    if (!written)
        _logLine(localisedText("What was copied could not be remembered - %@.", {written.error().describe()}));
}

} // namespace vt
