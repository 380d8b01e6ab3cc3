// One decision of a comparison. Thread: any; a value.
#pragma once

#include "base/Date.h"
#include "base/Value.h"

#include <cstdint>
#include <optional>
#include <string>

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
    friend bool operator==(const ScanEntry&, const ScanEntry&) = default;
};

} // namespace vt
