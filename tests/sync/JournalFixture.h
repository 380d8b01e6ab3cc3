// A copy journal of one drive, its folder, and a flush that counts and can fail.
#pragma once

#include "TreeFixture.h"

#include "sync/journal/CopyJournal.h"

#include <atomic>
#include <string>

namespace vt::test {

class JournalTest : public TreeFixture {
  protected:
    static constexpr const char* folder = "/home/ann/.state/journal";
    const std::string merged = std::string(folder) + "/leftovers";
    [[nodiscard]] CopyJournal journal(const std::string& boot = "boot-1") {
        return CopyJournal(folder, {files, files, clock,
                                    [this]() -> Result<void> {
                                        ++flushes;
                                        const int code = flushCode.load();
                                        if (code != 0) return Error::fromErrno(code, drive);
                                        return {};
                                    },
                                    boot, [this](const std::string& line) { lines.push_back(line); }});
    }
    void copied(CopyJournal& to, const std::string& name, std::uint64_t bytes = 10) {
        to.beforeCopy();
        to.afterCopy(d(name), Date::fromSeconds(1000, 7), bytes);
    }
    // Each leaves a copy in doubt; the second has merged the group of the first.
    void cutTwoSyncs() {
        for (const char* name : {"Music/a", "Music/b"}) {
            auto one = journal();
            one.beginPass({d("Music")});
            copied(one, name);
            clock.advance(std::chrono::minutes(1));
        }
    }
    [[nodiscard]] Lines journalFiles() { return files.listNames(folder).valueOr({}); }

    std::atomic<int> flushes{0};
    std::atomic<int> flushCode{0};
    Lines lines;
};

} // namespace vt::test
