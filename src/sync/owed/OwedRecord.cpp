#include "sync/owed/OwedRecord.h"

#include "base/Paths.h"
#include "sync/owed/RecordText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <utility>

namespace vt {

namespace {

constexpr std::string_view firstLine = "vantaro-owed 1";
constexpr std::uint64_t largestRecord = 256ULL << 20U;
constexpr std::uint32_t privateFile = 0600;
constexpr std::uint32_t privateFolder = 0700;
constexpr std::array<std::string_view, 4> reasonNames = {"failed", "skipped", "staged", "filtered"};

constexpr std::string_view digits = "0123456789ABCDEF";

} // namespace

std::string OwedRecord::stateName(std::string_view driveKey) {
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (const char c : driveKey) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3ULL;
    std::string name;
    for (int shift = 60; shift >= 0; shift -= 4) name += digits[(hash >> static_cast<unsigned>(shift)) & 15U];
    return name;
}

OwedRecord::OwedRecord(FileService& files, FileContents& contents, const std::string& stateHome, std::string driveKey)
    : _files(files), _contents(contents), _driveKey(std::move(driveKey)), _folder(paths::join(stateHome, "vantaro")),
      _path(paths::join(paths::join(_folder, "drives"), stateName(_driveKey) + ".owed")) {}

void OwedRecord::load() {
    _coveredThrough.clear();
    _owed.clear();
    _onBothSides.clear();
    _filter.clear();
    const auto content = _contents.read(_path, largestRecord);
    _exists = content && read(*content);
}

bool OwedRecord::read(std::string_view text) {
    using recordtext::nextLine;
    if (nextLine(text) != firstLine || nextLine(text) != "drive " + recordtext::escaped(_driveKey)) return false;
    std::string folder;
    while (!text.empty()) readLine(nextLine(text), folder);
    return true;
}

void OwedRecord::readLine(std::string_view line, std::string& folder) {
    const std::string_view kind = recordtext::nextWord(line);
    if (kind == "filter") {
        _filter = recordtext::unescaped(line);
        return;
    }
    if (kind == "both") {
        _onBothSides.insert(recordtext::unescaped(line));
        return;
    }
    if (kind == "in") {
        folder = recordtext::unescaped(line);
        return;
    }
    if (kind == "staged") {
        _owed.emplace(folder + "/" + recordtext::unescaped(line), OwedReason::staged);
        return;
    }
    const std::string_view detail = recordtext::nextWord(line);
    if (line.empty()) return;
    if (kind == "item") {
        std::int64_t nanoseconds = 0;
        const auto [end, error] = std::from_chars(detail.data(), detail.data() + detail.size(), nanoseconds);
        if (error == std::errc() && end == detail.data() + detail.size())
            _coveredThrough[recordtext::unescaped(line)] = Date::fromNanoseconds(nanoseconds);
    } else if (kind == "owed") {
        for (std::size_t i = 0; i < reasonNames.size(); ++i)
            if (detail == reasonNames[i]) _owed[recordtext::unescaped(line)] = static_cast<OwedReason>(i);
    }
}

std::string OwedRecord::text(const MorePaths& staged) const {
    std::string text(firstLine);
    text += "\ndrive " + recordtext::escaped(_driveKey) + "\n";
    if (!_filter.empty()) text += "filter " + recordtext::escaped(_filter) + "\n";
    for (const auto& [item, date] : _coveredThrough)
        text += "item " + std::to_string(date.nanoseconds()) + " " + recordtext::escaped(item) + "\n";
    for (const auto& [path, reason] : _owed)
        text.append("owed ")
            .append(reasonNames[static_cast<std::size_t>(reason)])
            .append(" ")
            .append(recordtext::escaped(path)) += "\n";
    for (const std::string& path : _onBothSides) text.append("both ").append(recordtext::escaped(path)) += "\n";
    if (!staged) return text;
    // What lies in one folder comes in a row: the folder is written once.
    std::string folder;
    staged([&](const std::string& path) {
        const auto slash = path.rfind('/');
        if (_owed.contains(path) || slash == std::string::npos) return;
        if (path.compare(0, slash, folder) != 0 || folder.empty()) {
            folder = path.substr(0, slash);
            text.append("in ").append(recordtext::escaped(folder)) += "\n";
        }
        text.append("staged ").append(recordtext::escaped(path.substr(slash + 1))) += "\n";
    });
    return text;
}

Result<void> OwedRecord::save(const MorePaths& staged) {
    if (!_files.attributes(_path)) {
        // The state home itself may be missing on a fresh account.
        for (const std::string& folder :
             {paths::parent(paths::parent(_folder)), paths::parent(_folder), _folder, paths::parent(_path)})
            if (!_files.attributes(folder)) _files.makeDirectory(folder, privateFolder).ignore();
    }
    auto written = _contents.writeAtomically(_path, text(staged), privateFile);
    if (written) _exists = true;
    return written;
}

std::optional<Date> OwedRecord::coveredThrough(const std::string& item) const {
    const auto found = _coveredThrough.find(item);
    if (found == _coveredThrough.end()) return std::nullopt;
    return found->second;
}

void OwedRecord::setCoveredThrough(const std::string& item, Date date) {
    _coveredThrough[item] = date;
}

void OwedRecord::dropCoveredThrough(const std::string& item) {
    _coveredThrough.erase(item);
}

void OwedRecord::settle(const std::string& path) {
    _owed.erase(path);
    const std::string below = path + "/";
    auto next = _owed.lower_bound(below);
    while (next != _owed.end() && next->first.starts_with(below)) next = _owed.erase(next);
}

void OwedRecord::handDown(const std::vector<std::string>& items) {
    const auto isAbove = [](const std::string& path) {
        return [&path](const std::string& item) { return paths::isAtOrBelow(path, item); };
    };
    for (auto mark = _owed.begin(); mark != _owed.end();) {
        std::vector<std::string> below;
        if (std::none_of(items.begin(), items.end(), isAbove(mark->first)))
            std::copy_if(items.begin(), items.end(), std::back_inserter(below),
                         [&](const std::string& item) { return paths::isAtOrBelow(item, mark->first); });
        for (const std::string& item : below) _owed.emplace(item, mark->second);
        mark = below.empty() ? std::next(mark) : _owed.erase(mark);
    }
}

bool OwedRecord::owes(std::string_view path) const {
    if (_owed.empty()) return false;
    while (true) {
        if (_owed.contains(path)) return true;
        const auto slash = path.rfind('/');
        if (slash == std::string_view::npos || slash == 0) return false;
        path = path.substr(0, slash);
    }
}

bool OwedRecord::owesInside(const std::string& path) const {
    const auto first = _owed.lower_bound(path + "/");
    return first != _owed.end() && first->first.starts_with(path + "/");
}

void OwedRecord::forgetBothSidesOfPaid() {
    std::erase_if(_onBothSides, [this](const std::string& path) { return !owes(path) && !owesInside(path); });
}

bool OwedRecord::knownToFail(const std::string& path) const {
    const std::string below = path + "/";
    const auto counts = [](OwedReason reason) { return reason == OwedReason::failed || reason == OwedReason::skipped; };
    const auto itself = _owed.find(path);
    if (itself != _owed.end() && counts(itself->second)) return true;
    for (auto next = _owed.lower_bound(below); next != _owed.end() && next->first.starts_with(below); ++next)
        if (counts(next->second)) return true;
    return false;
}

} // namespace vt
