// What this computer still owes one drive: paths whose copy failed or was left out, and for each sync item through
// which time the drive has everything. Kept in the agent's state directory, never on the drive; docs/formats/state.md
// describes the file. Thread: the drive's worker. Owns: the record in memory. Errors: a file that cannot be read is no
// record; save() says when the record could not be written.
#pragma once

#include "base/Date.h"
#include "platform/FileService.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

enum class OwedReason : std::uint8_t { failed, skipped, staged, filtered };

class OwedRecord {
  public:
    // `driveKey` is the drive's own identity, stable over mounts.
    OwedRecord(FileService& files, FileContents& contents, const std::string& stateHome, std::string driveKey);
    // The name under which a drive's records stand in the state directory: the key may be a path of any length.
    [[nodiscard]] static std::string stateName(std::string_view driveKey);

    void load();
    // Paths that are owed besides, as staged; they reach the file without staying in memory.
    using MorePaths = std::function<void(const std::function<void(const std::string& path)>& each)>;
    [[nodiscard]] Result<void> save(const MorePaths& staged = {});
    [[nodiscard]] bool exists() const { return _exists; }
    [[nodiscard]] const std::string& path() const { return _path; }

    [[nodiscard]] std::optional<Date> coveredThrough(const std::string& item) const;
    void setCoveredThrough(const std::string& item, Date date);
    void dropCoveredThrough(const std::string& item);
    void dropAllCoveredThrough() { _coveredThrough.clear(); }
    [[nodiscard]] const std::map<std::string, Date>& coveredItems() const { return _coveredThrough; }

    // The switches and the device class in force when the times above were noted.
    [[nodiscard]] const std::string& filter() const { return _filter; }
    void setFilter(std::string filter) { _filter = std::move(filter); }

    void owe(const std::string& path, OwedReason reason) { _owed[path] = reason; }
    void settle(const std::string& path); // the path and everything below it
    // A mark above all of the list's items that it concerns, from when the list named more, could never be settled:
    // each item below it gets one of its own instead. `items` are absolute paths.
    void handDown(const std::vector<std::string>& items);
    // The path is owed, or lies below an owed folder.
    [[nodiscard]] bool owes(std::string_view path) const;
    // A path at or below `path` failed before.
    [[nodiscard]] bool knownToFail(const std::string& path) const;
    [[nodiscard]] const std::map<std::string, OwedReason, std::less<>>& owed() const { return _owed; }

    // What the drive is owed was changed on the drive as well: the dates that told so lie before the last sync since.
    void noteChangedOnBothSides(const std::string& path) { _onBothSides.insert(path); }
    [[nodiscard]] bool changedOnBothSides(const std::string& path) const { return _onBothSides.contains(path); }
    // Keeps of these only what is still owed, as a whole or in part.
    void forgetBothSidesOfPaid();

  private:
    [[nodiscard]] std::string text(const MorePaths& staged) const;
    [[nodiscard]] bool read(std::string_view text);
    void readLine(std::string_view line, std::string& folder); // `folder`: of the "staged" lines that follow
    [[nodiscard]] bool owesInside(const std::string& path) const;

    FileService& _files;
    FileContents& _contents;
    std::string _driveKey;
    std::string _folder;
    std::string _path;
    bool _exists = false;
    std::string _filter;
    std::map<std::string, Date> _coveredThrough;
    std::map<std::string, OwedReason, std::less<>> _owed;
    std::set<std::string> _onBothSides;
};

} // namespace vt
