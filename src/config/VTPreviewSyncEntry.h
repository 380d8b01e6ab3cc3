// One row of the sync preview, with the texts that stand for its values: what a sync would do with one item.
// Thread: main. Owns: its copy of the row, keys that it does not know included.
// Errors: a value that is missing or of another kind reads as null. Units: sizes in bytes.
#pragma once

#include "base/Date.h"
#include "base/Paths.h"
#include "base/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

// The kinds of row are the preview's own, not those of scan results.
namespace previewtype {
inline constexpr std::uint64_t isNew = 0;
inline constexpr std::uint64_t overwrite = 1;
inline constexpr std::uint64_t conflict = 2;
inline constexpr std::uint64_t deletedOnComputer = 3;
inline constexpr std::uint64_t deletedOnDrive = 4;
inline constexpr std::uint64_t deleted = 5;
inline constexpr std::uint64_t alsoNew = 6;
} // namespace previewtype

class VTPreviewSyncEntry {
  public:
    VTPreviewSyncEntry(Value::Dictionary row, HomePaths homePaths);
    [[nodiscard]] const Value::Dictionary& entryDict() const { return m_entryDict; }

    [[nodiscard]] bool syncActionEnabled() const; // absent: off
    void setSyncActionEnabled(bool enabled);
    [[nodiscard]] std::optional<std::string> localPath() const;
    [[nodiscard]] std::optional<std::string> pushkeyPath() const;
    [[nodiscard]] std::optional<Date> localFileModDate() const;
    [[nodiscard]] std::optional<Date> pushkeyFileModDate() const;
    [[nodiscard]] std::optional<std::uint64_t> localFileSize() const;
    [[nodiscard]] std::optional<std::uint64_t> pushkeyFileSize() const;
    [[nodiscard]] std::optional<std::uint64_t> syncEntryType() const;
    void setSyncEntryType(std::uint64_t type);
    [[nodiscard]] std::optional<std::uint64_t> actionToPerform() const;
    void setActionToPerform(std::uint64_t action);
    [[nodiscard]] const std::optional<std::string>& localTempPath() const { return m_localTempPath; }
    void setLocalTempPath(std::optional<std::string> path) { m_localTempPath = std::move(path); }

    // What a column shows: of the texts below by their names, of every other key the row's own value; else null.
    [[nodiscard]] Value valueForKey(std::string_view key) const;

    [[nodiscard]] std::optional<std::string> fileName() const;
    // Without what leads to the temporary folder, that folder itself and one character more.
    [[nodiscard]] std::optional<std::string> localDisplayPath() const;
    [[nodiscard]] std::string syncEntryTypeString() const;
    [[nodiscard]] std::string localFileInfo() const;
    [[nodiscard]] std::string pushkeyFileInfo() const;
    // Date and size with a blank between them; only one of them, or nothing, where the other is missing.
    [[nodiscard]] static std::string formattedFileInfoFor(std::optional<std::uint64_t> size,
                                                          std::optional<Date> modified);

    // Whether the click changed the row: its switch, or the side that wins.
    bool clickedColumnWithIdentifier(std::string_view identifier);

  private:
    [[nodiscard]] std::optional<std::uint64_t> numberFor(std::string_view key) const;

    Value::Dictionary m_entryDict;
    std::optional<std::string> m_localTempPath;
    HomePaths _homePaths;
};

} // namespace vt
