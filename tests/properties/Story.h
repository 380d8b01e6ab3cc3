// What happens to a computer, a drive and their users, as a list of small steps that RapidCheck makes up, cuts short
// and prints.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <rapidcheck.h>
#include <string>
#include <vector>

namespace vt::test {

enum class Step : std::uint8_t {
    writeFile,      // on the computer
    removeItem,     // on the computer
    makeFolder,     // on the computer
    makeLink,       // on the computer
    writeDriveFile, // in the place of a copy, as another computer or the person does
    removeDriveItem,
    makeDriveFolder,
    later,       // the clock goes on
    earlier,     // the clock is set back
    chooseItems, // another sync list
    sync,
    syncWithUnreadable, // one path cannot be read, and the person goes on
    syncChanges,        // of some changed paths only
    syncThenCancel,     // cancelled while a file is copied
    cancelledBeforehand,
    syncWhileEdited, // a file is written while another one is copied
};
constexpr int stepCount = 16;

struct Event {
    Step step = Step::sync;
    int who = 0;     // of two users
    int path = 0;    // of `storyPaths`
    int other = 0;   // a second path, a list, a number of files
    int minutes = 0; // before or after the clock's present time, for dates
    int size = 0;
};

// Below the home folder, but for the last ones, which lie outside it.
constexpr std::array<const char*, 27> storyPaths = {"Music/a.mp3",
                                                    "Music/b.txt",
                                                    "Music/Rock/a.mp3",
                                                    "Music/Rock/c.jpg",
                                                    "Pictures/p.jpg",
                                                    "Music/d.exe",
                                                    "Music/set.pages/i.txt",
                                                    "Music/set.pages/x.js",
                                                    "Music/Rock/Deep/e.mp3",
                                                    "Pictures/q.jpg",
                                                    "Music/set.pages/y.js",
                                                    "Music/.d$f.a.mp3",
                                                    "Music/tool.app/run",
                                                    "Docs/b.txt",
                                                    "Docs/Old/c.txt",
                                                    "Docs/Old/n.exe",
                                                    "Music2/a.mp3",
                                                    "Docs/.Z_VT_W/t.txt",
                                                    "Music/\xff\xfe.mp3",
                                                    "Docs/set.pages/i.txt",
                                                    "Music/l.mp3",
                                                    "Music/Rock",
                                                    "Music",
                                                    "Docs/Old",
                                                    "Pictures",
                                                    "/srv/team/t.txt",
                                                    "/srv/team/Rock/t.mp3"};
// Bits of an event's `other` choose from these.
constexpr std::array<const char*, 7> storyItems = {"~/Music",       "~/Pictures", "~/Music/Rock", "~/Docs",
                                                   "~/Music/b.txt", "~/Missing",  "/srv/team"};
constexpr std::array<const char*, 2> storyUsers = {"ada", "bob"};

inline const char* nameOf(Step step) {
    constexpr std::array<const char*, stepCount> names = {"writes",
                                                          "removes",
                                                          "makes the folder",
                                                          "makes a link at",
                                                          "finds changed on the drive",
                                                          "finds removed from the drive",
                                                          "finds a folder on the drive at",
                                                          "waits",
                                                          "sets the clock back",
                                                          "chooses items",
                                                          "syncs",
                                                          "syncs while unreadable is",
                                                          "syncs the change of",
                                                          "syncs and cancels",
                                                          "cancels, then syncs",
                                                          "syncs and meanwhile writes"};
    return names.at(static_cast<std::size_t>(step));
}

inline void showValue(const Event& event, std::ostream& out) {
    out << "\n  " << storyUsers.at(static_cast<std::size_t>(event.who)) << " " << nameOf(event.step) << " "
        << storyPaths.at(static_cast<std::size_t>(event.path)) << " (other " << event.other << ", " << event.minutes
        << " min, " << event.size << " bytes)";
}

struct Story {
    int granularity = 0; // of the drive's dates: 0 none, 1 two seconds rounded down, 2 rounded up
    bool holdsLinks = true;
    std::vector<Event> events;
};

inline void showValue(const Story& story, std::ostream& out) {
    out << "a drive with dates of kind " << story.granularity << (story.holdsLinks ? "" : ", without links");
    for (const auto& event : story.events) showValue(event, out);
    out << "\n";
}

} // namespace vt::test

namespace rc {

template <> struct Arbitrary<vt::test::Event> {
    static Gen<vt::test::Event> arbitrary() {
        using vt::test::Event;
        using vt::test::Step;
        const auto step = gen::weightedElement<Step>({{12, Step::writeFile},
                                                      {3, Step::removeItem},
                                                      {1, Step::makeFolder},
                                                      {1, Step::makeLink},
                                                      {6, Step::writeDriveFile},
                                                      {3, Step::removeDriveItem},
                                                      {1, Step::makeDriveFolder},
                                                      {4, Step::later},
                                                      {1, Step::earlier},
                                                      {1, Step::chooseItems},
                                                      {8, Step::sync},
                                                      {3, Step::syncWithUnreadable},
                                                      {3, Step::syncChanges},
                                                      {1, Step::syncThenCancel},
                                                      {1, Step::cancelledBeforehand},
                                                      {1, Step::syncWhileEdited}});
        // Often the same few, so that something happens to them.
        const auto path = gen::weightedOneOf<int>(
            {{1, gen::inRange(0, 11)}, {1, gen::inRange(0, static_cast<int>(vt::test::storyPaths.size()))}});
        return gen::build<Event>(
            gen::set(&Event::step, step), gen::set(&Event::who, gen::weightedElement<int>({{3, 0}, {1, 1}})),
            gen::set(&Event::path, path),
            gen::set(&Event::other, gen::weightedOneOf<int>({{1, gen::inRange(0, 8)}, {1, gen::inRange(0, 128)}})),
            gen::set(&Event::minutes, gen::inRange(-90, 15)), gen::set(&Event::size, gen::inRange(0, 1500)));
    }
};

template <> struct Arbitrary<vt::test::Story> {
    static Gen<vt::test::Story> arbitrary() {
        using vt::test::Story;
        return gen::build<Story>(
            gen::set(&Story::granularity, gen::weightedElement<int>({{3, 0}, {1, 1}, {1, 2}})),
            gen::set(&Story::holdsLinks, gen::weightedElement<bool>({{4, true}, {1, false}})),
            gen::set(&Story::events, gen::scale(0.7, gen::arbitrary<std::vector<vt::test::Event>>())));
    }
};

} // namespace rc
