// Remembers which copies on the drive may still be short after a kill, a pull or a power cut, and flushes the drive in
// groups. A group ends at a file's end after 256 MiB or 5 s; its flush runs beside the copying of the next. Its record
// reaches the computer's disk before its first file, the names follow unsynced, and go when a flush has covered them. A
// record that somebody removes meanwhile is noticed within a second of copying and made anew: it puts all in doubt that
// changed since its group began.
// Thread: the drive's worker. Owns: the files of its folder and the helper thread of one flush.
// Errors: those of a flush; a journal that cannot be written is logged once and the copying goes on.
// Units: absolute raw-byte final paths on the drive; bytes.
#pragma once

#include "platform/Clock.h"
#include "platform/FileService.h"
#include "sync/journal/FlushThread.h"
#include "sync/journal/JournalText.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt {

class CopyJournal {
  public:
    struct Services {
        FileService& files;     // the computer's, where the journal lies
        FileContents& contents; // the computer's
        const Clock& clock;
        std::function<Result<void>()> flushDrive; // any thread
        std::string bootId;                       // the same exactly until the computer starts again
        std::function<void(const std::string&)> logLine;
    };
    // What earlier syncs left in doubt.
    struct Leftovers {
        std::map<std::string, Date> files;    // the date that each copy was given
        std::map<std::string, Date> replaced; // and of some the date of what it was to replace
        struct Group {                        // of an earlier start of the computer: anything changed since `start`
            std::vector<std::string> items;
            Date start;
            friend bool operator==(const Group&, const Group&) = default;
        };
        std::vector<Group> groups;
    };
    CopyJournal(std::string folder, Services services);

    // At the start of a pass over these final paths: reads what is in doubt. Of what this journal wrote itself that is
    // only what a failed flush should have covered; the rest, as of a sync that was cancelled, waits for the next
    // flush.
    const Leftovers& beginPass(std::vector<std::string> items);
    [[nodiscard]] const Leftovers& leftovers() const { return _leftovers; }
    [[nodiscard]] std::optional<Date> dateGiven(const std::string& path) const;
    // The date of what a copy in doubt was to replace, as afterCopy() was told it; null for another.
    [[nodiscard]] std::optional<Date> dateReplaced(const std::string& path) const;
    // After the last flush of a pass over `items`: all that was in doubt at or below them was copied again or found
    // whole, but for these, with the dates that they have on the drive, and for what lies at or below the places that
    // it did not look into, which have no slash at their end.
    void settle(const std::vector<std::string>& items, const std::map<std::string, Date>& stillInDoubt,
                const std::set<std::string>& notLookedInto);

    void beforeCopy();
    // `replaced`: the date of what it is going to replace, where that is nothing but an older copy.
    void afterCopy(const std::string& path, Date written, std::uint64_t bytes,
                   std::optional<Date> replaced = std::nullopt);
    void noteCommitted() { ++_changes; }
    // Flushes unless all content is down already: before a step that destroys old content.
    Result<void> flushBeforeReplacing();
    // Flushes unless nothing was written since the last one: before the stamp, and after the commit.
    Result<void> flush();

  private:
    struct Record { // of one group
        std::string path;
        Date start;
        std::vector<std::string> items;
    };
    struct OpenGroup {
        Record record;
        std::unique_ptr<FileContents::Appender> names; // null when the record could not be made
        std::chrono::nanoseconds opened{0};
        std::chrono::nanoseconds seen{0}; // when the record was last known to stand
        std::uint64_t bytes = 0;
    };
    struct Running { // what a flush covers
        std::uint64_t changes = 0;
        std::uint64_t copies = 0;
        std::vector<Record> groups;
    };
    void open();
    void writeRecord(const Record& record, const std::string& bootId);
    void openNames();
    void makeFolder();
    void lookAfterRecords();
    [[nodiscard]] bool restoreRecord(const Record& record);
    [[nodiscard]] bool waitsForFlush(const std::string& path) const;
    void closeGroup();
    void finishRunningFlush();
    void flushNow();
    void flushEnded(const Result<void>& flushed, const Running& covering);
    [[nodiscard]] bool readEarlierGroup(const std::string& path);
    void keepUnread(const std::string& name);
    void addLeftoverGroup(Leftovers::Group group);
    void uniteLeftoverGroups();
    // False where the disk does not hold what is known: then nothing that says it may go.
    [[nodiscard]] bool writeLeftovers();
    void complain(const Error& error);

    std::string _folder;
    Services _services;
    std::vector<std::string> _items;
    Leftovers _leftovers;
    std::optional<OpenGroup> _open;
    std::vector<Record> _closed; // groups that no flush covers yet
    std::uint64_t _changes = 0;  // counted up with every change of the drive
    std::uint64_t _copies = 0;   // and with every copy
    std::uint64_t _changesFlushed = 0;
    std::uint64_t _copiesFlushed = 0;
    std::uint64_t _groupsOpened = 0;
    bool _complained = false;
    bool _unreadInPlace = false;       // the merged file could not be read, nor moved out of the way
    std::optional<Error> _flushFailed; // in this pass: what it should have covered stays in doubt
    std::optional<Running> _running;
    FlushThread _thread;
};

} // namespace vt
