// What a sync has to do, written down a second time and as plainly as possible: from two trees and what is known of
// earlier syncs to the drive's next tree. Holds no file services and shares no code with the engine.
// Units: absolute paths; dates in nanoseconds since 1970; byte counts rounded up to 512 per file.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt::model {

enum class Kind : std::uint8_t { file, folder, link };

struct Item {
    Kind kind = Kind::file;
    std::string content; // a link's target
    std::int64_t date = 0;
    std::int64_t changed = 0; // when the computer last touched the entry itself
};
using Tree = std::map<std::string, Item>; // sorted by bytes, as folders are listed

[[nodiscard]] bool isPackage(const std::string& path);
[[nodiscard]] std::string unitOf(const std::string& path); // the package that it lies in, else the path itself
[[nodiscard]] bool isPlainFolder(const Tree& tree, const std::string& path);
[[nodiscard]] bool isAtOrBelow(const std::string& path, const std::string& folder);
[[nodiscard]] std::vector<std::string> childrenOf(const Tree& tree, const std::string& folder); // paths
[[nodiscard]] std::uint64_t sizeOf(const Tree& tree, const std::string& path);
[[nodiscard]] std::int64_t newestDate(const Tree& tree, const std::string& path);

// One user of one drive.
struct User {
    std::string home;       // "/home/ada"
    std::string copies;     // "/media/stick/ada_Workbench"
    std::string mountPoint; // "/media/stick"
    std::vector<std::string> list;
    std::int64_t granularity = 1; // of the drive's dates
    bool holdsLinks = true;       // the drive does

    std::optional<std::int64_t> lastSync;
    bool remembered = false; // a record of what is owed has been written
    std::set<std::string> owed;
    std::set<std::string> onBothSides;                  // changed on the drive as well, and still owed
    std::map<std::string, std::int64_t> coveredThrough; // by list item
    // Files copied while they were new, by their place on the drive: coarse dates hide no later change of theirs.
    struct Version {
        std::size_t size = 0;
        std::int64_t date = 0, changed = 0;
        bool operator==(const Version&) const = default;
    };
    std::map<std::string, Version> recent;
    bool vague = false; // after a sync that was not foreseen: `recent` may name too much or too little

    [[nodiscard]] std::string local(const std::string& item) const;
    [[nodiscard]] std::string shortForm(const std::string& path) const;
    [[nodiscard]] std::string onDrive(const std::string& localPath) const;
    [[nodiscard]] bool accepts(const Tree& computer,
                               const std::string& path) const; // the filter, as an entry of a folder
    void setList(std::vector<std::string> newList);
};

struct Request {
    std::int64_t now = 0;
    std::string day;                               // of `now`, as folders of the archive are named
    std::optional<std::vector<std::string>> paths; // a sync of these changes only
    std::set<std::string> unreadable; // files and folders on the computer; each question is answered with "go on"
};

struct Outcome {
    bool success = false;
    bool lookedAtNothing = false;
    Tree drive;
    std::uint64_t size = 0;
    std::uint64_t filtered = 0;
    std::uint64_t present = 0;
    std::uint64_t copied = 0;
    // The drive has these already, and the computer may have remembered that: each time they are met, and once.
    std::uint64_t perhapsPresent = 0;
    std::uint64_t perhapsNotCopied = 0;
};

// Predicts the sync and moves the user's memory on.
[[nodiscard]] Outcome sync(User& user, const Tree& computer, const Tree& drive, const Request& request);

} // namespace vt::model
