#include "sync/keep/BesideNames.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/FileCreation.h"
#include "sync/tree/OwnRemoval.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace vt {

BesideNames::BesideNames(FileService& files, std::string target, std::string marks,
                         std::function<void(const std::string&)> logLine)
    : _files(files), _target(std::move(target)), _marks(std::move(marks)), _logLine(std::move(logLine)) {}

std::string BesideNames::besidePath(const std::string& path) {
    // A digest, because the name itself may be as long as a name can be.
    std::uint64_t digest = 14695981039346656037ULL;
    for (const char c : paths::lastComponent(path)) {
        digest ^= static_cast<unsigned char>(c);
        digest *= 1099511628211ULL;
    }
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(digest));
    return paths::join(paths::parent(path), std::string(".Z_VT_R_") + text.data());
}

std::string BesideNames::markFor(const std::string& path) const {
    return _marks + path.substr(_target.size());
}

Result<std::string> BesideNames::stand(const std::string& path) {
    if (!paths::isAtOrBelow(path, _target)) return Error::fromErrno(EXDEV, path);
    // What still waits there from before has done its service: the item is in its place.
    if (!putBackOne(path)) return Error::fromErrno(EEXIST, besidePath(path));
    const std::string mark = markFor(path);
    const bool marked = _files.attributes(mark).ok();
    if (!createDirectoryAtPath(_files, mark, nullptr, true, false)) return Error::fromErrno(EACCES, mark);
    std::string beside = besidePath(path);
    const auto moved = _files.move(path, beside, Replace::never);
    if (moved) return beside;
    if (!marked) _files.remove(mark, {}).ignore();
    return moved.error();
}

bool BesideNames::settle(const std::string& beside, const std::string& path, bool replaced) {
    const bool done = replaced ? removeOwn(_files, beside, {}).ok() : _files.move(beside, path, Replace::never).ok();
    if (done) _files.remove(markFor(path), {}).ignore();
    return done;
}

void BesideNames::putBack() {
    if (!_files.attributes(_marks)) return;
    bool all = true;
    std::vector<std::string> marks{_marks};
    while (!marks.empty()) {
        const std::string mark = std::move(marks.back());
        marks.pop_back();
        if (mark != _marks) all = putBackOne(_target + mark.substr(_marks.size())) && all;
        const auto entries = _files.list(mark);
        all = all && entries.ok();
        if (!entries) continue;
        for (const auto& entry : *entries)
            if (entry.attributes.isDirectory()) marks.push_back(paths::join(mark, entry.name));
    }
    // What still waits beside its place is found again by its mark.
    if (all) _files.remove(_marks, {}).ignore();
}

bool BesideNames::putBackOne(const std::string& path) {
    const std::string beside = besidePath(path);
    const auto waiting = _files.attributes(beside);
    if (!waiting) return waiting.code() == ENOENT;
    const auto present = _files.attributes(path);
    if (!present && present.code() != ENOENT) return false;
    const bool replaced = present.ok();
    const bool done = replaced ? removeOwn(_files, beside, {}).ok() : _files.move(beside, path, Replace::never).ok();
    if (done && !replaced) _logLine(localisedText("Put \"%@\" back on the drive.", {paths::displayText(path)}));
    return done;
}

} // namespace vt
