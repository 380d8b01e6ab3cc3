// What a comparison decided: one entry per step that has to be carried out, numbered in the order of the decisions.
// Made for a million changed files: entries are kept small and take their full form when they are asked for.
// Thread: the drive's worker. Owns: the entries. Errors: none.
#pragma once

#include "base/Value.h"
#include "sync/compare/CompactEntries.h"
#include "sync/compare/NameRule.h"
#include "sync/compare/ScanEntry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vt {

class ScanResults {
  public:
    using Index = CompactEntries::Index;

    // The entries in their order, each formed anew when it is looked at.
    class Entries {
      public:
        class Iterator {
          public:
            Iterator(const CompactEntries& all, Index index) : _all(all), _index(index) {}
            [[nodiscard]] ScanEntry operator*() const { return _all.at(_index); }
            Iterator& operator++() {
                ++_index;
                return *this;
            }
            [[nodiscard]] bool operator==(const Iterator& other) const { return _index == other._index; }

          private:
            const CompactEntries& _all;
            Index _index;
        };
        explicit Entries(const CompactEntries& all) : _all(all) {}
        [[nodiscard]] Iterator begin() const { return {_all, 0}; }
        [[nodiscard]] Iterator end() const { return {_all, static_cast<Index>(_all.size())}; }
        [[nodiscard]] ScanEntry operator[](std::size_t index) const { return _all.at(static_cast<Index>(index)); }

      private:
        const CompactEntries& _all;
    };

    // Before the first entry: the pass's own folders and its drive's rule for names.
    void beginPass(ScanRoots roots, NameRule rule);
    // Always true.
    bool addEntryToScanResults(const ScanEntry& entry);
    // False when the entry's target is, or lies below, one that is there already: the entry is left out. Entries below
    // the new target are switched off, since the new one carries them.
    bool addUnlessCovered(const ScanEntry& entry);
    [[nodiscard]] bool replaceEntryFromScanResultsForLocalPath(const std::string& localPath, const ScanEntry& entry);
    void clearScanResults();
    [[nodiscard]] Entries entries() const { return Entries(_entries); }
    [[nodiscard]] std::size_t numEntries() const { return _entries.size(); }
    // The entry that addUnlessCovered() took for this place on the drive.
    [[nodiscard]] std::optional<ScanEntry> entryForDrivePath(const std::string& path) const;

    // "numEntries" and one dictionary per decimal key; and back, passing over what is no dictionary.
    [[nodiscard]] Value::Dictionary toValue() const;
    [[nodiscard]] static ScanResults fromValue(const Value::Dictionary& dictionary);

  private:
    [[nodiscard]] std::size_t slotFor(const std::string& key) const; // of that key, or the free one for it
    void note(const std::string& key, Index index);
    void growSlots();

    CompactEntries _entries;
    NameRule _rule{true};
    std::vector<Index> _slots; // entries by the key of their place on the drive, plus one; 0 is free
    std::size_t _noted = 0;
    std::unordered_set<std::string> _folders; // keys of entries that carry what lies below them
    std::unordered_set<std::string> _above;   // keys of all folders above an entry
};

} // namespace vt
