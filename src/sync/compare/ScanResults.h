// What a comparison decided: one entry per step that has to be carried out, numbered in the order of the decisions.
// Thread: the drive's worker. Owns: the entries. Errors: none.
#pragma once

#include "base/Date.h"
#include "base/Value.h"
#include "sync/compare/NameRule.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt {

namespace entrytype {
inline constexpr unsigned onlyOnComputer = 1;
inline constexpr unsigned changedOnOneSide = 2;
inline constexpr unsigned changedOnBothSides = 3;
inline constexpr unsigned removalHeldBack = 5; // this computer is taken off the marker's list
inline constexpr unsigned removalWithMarker = 6;
inline constexpr unsigned replacesMarker = 7;
} // namespace entrytype

namespace action {
inline constexpr unsigned toDrive = 1;
inline constexpr unsigned driveIsNewer = 2;
inline constexpr unsigned removeFromDrive = 3;
inline constexpr unsigned removeFromComputer = 4;
} // namespace action

// The typed form of an entry; toValue() has exactly the keys that are set.
struct ScanEntry {
    bool syncActionEnabled = true;
    std::string localPath{};
    std::string pushkeyPath{};
    std::optional<Date> localFileModDate{};
    std::optional<std::int64_t> localFileSize{};
    std::optional<Date> pushkeyFileModDate{};
    std::optional<std::int64_t> pushkeyFileSize{};
    std::optional<Date> pushkeyFileBackupDate{};
    unsigned syncEntryType = 0;
    std::optional<unsigned> actionToPerform{};
    std::optional<std::string> trueDelete{};
    // Not part of the record: where the item stands or will stand on the drive, where on the computer, and whether it
    // is a folder there (a new one or a package).
    std::string drivePath{};
    std::string computerPath{};
    bool package = false;

    [[nodiscard]] Value::Dictionary toValue() const;
    [[nodiscard]] static ScanEntry fromValue(const Value::Dictionary& dictionary);
};

class ScanResults {
  public:
    // Always true.
    bool addEntryToScanResults(ScanEntry entry);
    // False when the entry's target is, or lies below, one that is there already: the entry is left out. Entries below
    // the new target are switched off, since the new one carries them.
    bool addUnlessCovered(ScanEntry entry, const NameRule& rule);
    [[nodiscard]] bool replaceEntryFromScanResultsForLocalPath(const std::string& localPath, ScanEntry entry);
    void clearScanResults();
    [[nodiscard]] const std::vector<ScanEntry>& entries() const { return _entries; }
    [[nodiscard]] std::size_t numEntries() const { return _entries.size(); }

    // "numEntries" and one dictionary per decimal key; and back, passing over what is no dictionary.
    [[nodiscard]] Value::Dictionary toValue() const;
    [[nodiscard]] static ScanResults fromValue(const Value::Dictionary& dictionary);

  private:
    std::vector<ScanEntry> _entries;
    std::set<std::string> _targets;
};

} // namespace vt
