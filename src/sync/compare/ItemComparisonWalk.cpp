// The walk of the folders that stand on both sides.
#include "sync/compare/ItemComparison.h"

#include "base/Paths.h"
#include "config/utilities/Packages.h"

#include <utility>

namespace vt {

ItemComparison::Frame ItemComparison::frameFor(const Item& folder, Index local) {
    // A child's place on the drive follows from its own path in the sync list's form. It lies in another folder than
    // this one where the walk comes from outside the home folder into it.
    const std::string form = _services.paths.home().abbreviate(folder.local);
    const std::string childDrive = _services.paths.drive(form == "~" ? "~/" : form);
    Frame frame{folder,
                childDrive,
                DriveFolder(_services.files, folder.drive, _rule),
                std::nullopt,
                _services.snapshot.firstChild(local),
                _services.snapshot.firstChild(local) + _services.snapshot.childCount(local)};
    if (childDrive != folder.drive) frame.children.emplace(_services.files, childDrive, _rule);
    const bool unlistable = _services.snapshot.unlistable(local);
    // The folder of the children may still have to be made.
    const bool childrenHidden = frame.children && !frame.children->listed() && !frame.children->missing();
    if (unlistable || !frame.own.listed() || childrenHidden) {
        const std::string& onDrive = frame.own.listed() ? childDrive : folder.drive;
        _services.log.logLine("Unable to list \"%@\".", paths::displayText(unlistable ? folder.local : onDrive));
        _services.tally.fail(folder.local, OwedReason::failed);
        noteNotLookedInto(folder.drive);
        noteNotLookedInto(childDrive);
        // What the drive does not show cannot be compared: every file would look new.
        if (!unlistable) frame.end = frame.next;
    }
    return frame;
}

ItemComparison::Item ItemComparison::childOf(const Frame& frame, Index child) const {
    const std::string_view name = _services.snapshot.name(child);
    Item item;
    item.local = paths::join(frame.folder.local, name);
    if (!_services.snapshot.isDirectory(child)) {
        item.item = paths::join(frame.folder.item, name);
        item.drive = paths::join(frame.childDrive, name);
        return item;
    }
    // Only a folder can be the home folder itself or the root of another volume, whose place on the drive is another.
    item.item = _services.paths.home().abbreviate(item.local);
    if (item.item == "~") item.item = "~/"; // the form that the home folder has in a list
    item.drive = _services.paths.drive(item.item);
    return item;
}

ItemComparison::Answer ItemComparison::nextChild(Frame& frame, Item& childItem) {
    const Index child = frame.next++;
    const std::string_view name = _services.snapshot.name(child);
    childItem = childOf(frame, child);

    bool secondName = false;
    DriveFolder& siblings = frame.children ? *frame.children : frame.own;
    const DirectoryEntry* found = siblings.find(name, secondName);
    bool ignored = false;
    if (frame.children) (void)frame.own.find(name, ignored);

    const FileAttributes known = _services.snapshot.attributes(child);
    if (!_services.filter.shouldCopyMediaFile(childItem.local, name, &known)) {
        skipFiltered(childItem, child, found != nullptr ? &found->attributes : nullptr);
        return Answer::yes;
    }
    if (secondName) {
        _services.log.logLine("\"%@\" is left out: the drive takes its name for that of another item.",
                              paths::displayText(childItem.local));
        _services.tally.fail(childItem.local, OwedReason::skipped);
        return Answer::yes;
    }
    if (found == nullptr && nameIsRefused(childItem, child, name)) return Answer::yes;
    Answer answer = Answer::no;
    if (_services.cancel.pending()) {
        answer = _services.cancel.returnValue() ? Answer::yes : Answer::no;
    } else if (childItem.drive == paths::join(frame.childDrive, name)) {
        if (found != nullptr) childItem.drive = paths::join(frame.childDrive, found->name);
        answer = compare(childItem, child, found != nullptr ? &found->attributes : nullptr);
    } else {
        bool usable = true;
        const auto drive = lookOnDrive(childItem.drive, usable);
        answer =
            usable ? compare(childItem, child, drive ? &*drive : nullptr) : (_driveGone ? Answer::no : Answer::yes);
        if (!usable) {
            _services.tally.fail(childItem.local, OwedReason::failed);
            noteNotLookedInto(childItem.drive);
        }
    }
    if (answer != Answer::descend) closingLines(childItem, answer == Answer::yes);
    return answer;
}

ItemComparison::Answer ItemComparison::driveOnlyEntries(const Frame& frame) {
    _services.log.debugLine("-\n-: items are directories - back from recursion now checking for missing files");
    bool cancelled = false;
    frame.own.visitDriveOnly([&](const DirectoryEntry& entry) {
        if (_services.cancel.pending()) {
            cancelled = true;
            return false;
        }
        // Markers of removed items, and the agent's own work folder.
        if (entry.name.starts_with(".d$f.") || entry.name.starts_with(".d$d.") || entry.name == ".Z_VT_W") return true;
        if (_services.log.debugEnabled())
            _services.log.debugLine("-\n-: skipping Pushkey item \"%@\"",
                                    paths::displayText(paths::join(frame.folder.drive, entry.name)));
        if (_services.doubts != nullptr && !_services.doubts->none()) // otherwise no path needs to be made
            noteDoubt(paths::join(frame.folder.drive, entry.name), entry.attributes);
        ++_services.tally.driveOnly;
        return true;
    });
    if (!cancelled) return Answer::yes;
    return _services.cancel.returnValue() ? Answer::yes : Answer::no;
}

bool ItemComparison::walk(Frame first) {
    std::vector<Frame> frames;
    frames.push_back(std::move(first));
    bool result = true;
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (result && frame.next < frame.end) {
            Item child;
            const Index index = frame.next;
            const Answer answer = nextChild(frame, child);
            if (answer == Answer::descend)
                frames.push_back(frameFor(child, index));
            else
                result = answer == Answer::yes;
            continue;
        }
        // All children have been compared, or one of them has stopped the walk.
        if (result) result = driveOnlyEntries(frame) == Answer::yes;
        closingLines(frame.folder, result);
        frames.pop_back();
    }
    return result;
}

} // namespace vt
