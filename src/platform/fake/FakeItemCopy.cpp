#include "platform/fake/FakeItemCopy.h"

#include "base/Paths.h"

#include <algorithm>
#include <cerrno>

namespace vt {

namespace {

constexpr std::size_t pieceSize = 1024 * 1024;
constexpr int mostReadings = 4;

CopyAnswer raise(CopyObserver& observer, CopyEvent& event, CopyWhat what, CopyStage stage, std::uint64_t copied,
                 std::uint64_t size) {
    event.what = what;
    event.stage = stage;
    event.copiedBytes = copied;
    event.sourceSize = size;
    return observer.copyEvent(event);
}

template <typename Ending> Ending endingOf(CopyAnswer answer) {
    if (answer == CopyAnswer::skip) return Ending::leftOut;
    return answer == CopyAnswer::quit ? Ending::quit : Ending::made;
}

template <typename Ending>
Ending failedWith(CopyObserver& observer, CopyEvent& event, CopyWhat what, int code, const std::string& path) {
    event.error = Error::fromErrno(code, path);
    const CopyAnswer answer = raise(observer, event, what, CopyStage::error, 0, 0);
    event.error = Error{};
    return answer == CopyAnswer::goOn ? Ending::failed : endingOf<Ending>(answer);
}

} // namespace

CopyOutcome FakeItemCopy::copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) {
    const auto held = _disk.lock();
    Run run{observer, {}, false};
    const Ending ending = copy(run, source, destination);
    run.outcome.done = ending != Ending::quit && ending != Ending::failed && !run.anyFailed;
    if (ending == Ending::leftOut) ++run.outcome.skipped;
    return run.outcome;
}

int FakeItemCopy::check(const std::string& path) const {
    if (_drive == nullptr || !paths::isAtOrBelow(path, _drive->mountPoint())) return 0;
    return _drive->handle() && !_drive->isGone() ? 0 : ENODEV;
}

FakeItemCopy::Ending FakeItemCopy::copy(Run& run, const std::string& source, const std::string& destination) {
    Item item;
    item.event.source = source;
    item.event.destination = destination;
    const auto failed = [&](int code, const std::string& path) {
        return failedWith<Ending>(run.observer, item.event, CopyWhat::file, code, path);
    };
    if (const int code = check(source); code != 0) return failed(code, source);
    if (const int code = check(destination); code != 0) return failed(code, destination);
    Result<FakeSpot> from = _disk.find(source, false);
    if (!from || !from->node) return failed(from ? ENOENT : from.error().code, source);
    Result<FakeSpot> to = _disk.find(destination, false);
    if (!to) return failed(to.error().code, destination);
    item.source = *from;
    item.destination = *to;
    switch (from->node->attributes.kind) {
    case FileKind::regular:
        return copyFile(run, item);
    case FileKind::link:
        return copyLink(run, item);
    case FileKind::directory:
        return copyFolder(run, item);
    case FileKind::other:
        break;
    }
    return failed(EOPNOTSUPP, source);
}

void FakeItemCopy::takeRights(const FakeNode& source, FakeNode& copied) {
    copied.attributes.mode = source.attributes.mode;
    copied.attributes.owner = source.attributes.owner;
    copied.attributes.group = source.attributes.group;
    copied.extended = source.extended;
}

int FakeItemCopy::setDates(const Item& item, const FileAttributes& wanted, FakeNode& copied) {
    if (const int code = _disk.faults().begin("setDates", item.event.destination); code != 0) return code;
    const FakeDiskVolume& volume = *item.destination.volume;
    Date date = FakeDisk::storedDate(volume, wanted.modified);
    if (date > wanted.modified) date = Date::fromNanoseconds(date.nanoseconds() - volume.capabilities.dateGranularity);
    copied.attributes.modified = date;
    return date > wanted.modified ? ERANGE : 0;
}

FakeItemCopy::Ending FakeItemCopy::copyFile(Run& run, Item& item) {
    const std::string& target = item.event.destination;
    const auto failed = [&](int code, const std::string& path) {
        return failedWith<Ending>(run.observer, item.event, CopyWhat::file, code, path);
    };
    if (const int code = _disk.faults().begin("copyFile", item.event.source); code != 0)
        return failed(code, item.event.source);
    FileAttributes before = FakeDisk::attributesOf(*item.source.volume, *item.source.node);
    CopyAnswer answer = raise(run.observer, item.event, CopyWhat::file, CopyStage::start, 0, before.size);
    if (answer != CopyAnswer::goOn) return endingOf<Ending>(answer);
    if (before.size > item.destination.volume->capabilities.largestFile) return failed(EFBIG, target);
    if (item.destination.node) return failed(EEXIST, target);
    if (const int code = _disk.refusalOfNew(item.destination, 0); code != 0) return failed(code, target);

    const std::shared_ptr<FakeNode> copied = _disk.newNode(*item.destination.volume, FileKind::regular, 0600);
    _disk.insert(item.destination, copied);
    Ending ending = copyContent(run, item, *copied, before);
    if (ending == Ending::made) {
        takeRights(*item.source.node, *copied);
        if (const int code = setDates(item, before, *copied); code != 0) ending = failed(code, target);
    }
    if (ending == Ending::made) {
        answer = raise(run.observer, item.event, CopyWhat::file, CopyStage::finish, before.size, before.size);
        if (answer == CopyAnswer::quit) ending = Ending::quit;
    }
    if (ending == Ending::made)
        run.outcome.bytes += before.size;
    else
        _disk.erase(item.destination);
    return ending;
}

FakeItemCopy::Ending FakeItemCopy::copyContent(Run& run, Item& item, FakeNode& copied, FileAttributes& before) {
    for (int reading = 1;; ++reading) {
        copied.content.clear();
        while (copied.content.size() < before.size) {
            int code = _disk.faults().begin("copyData", item.event.source, item.event.destination);
            // Pulled by a hook: the volume answers for itself.
            for (const FakeDiskVolume* volume : {item.source.volume, item.destination.volume})
                if (code == 0) code = volume->goneCode;
            const std::string piece =
                item.source.node->content.substr(std::min(copied.content.size(), item.source.node->content.size()),
                                                 std::min<std::size_t>(pieceSize, before.size - copied.content.size()));
            if (code == 0 && piece.size() > _disk.freeBytes(*item.destination.volume)) code = ENOSPC;
            if (code != 0)
                return failedWith<Ending>(run.observer, item.event, CopyWhat::data, code, item.event.destination);
            if (piece.empty()) break;
            copied.content += piece;
            const CopyAnswer answer = raise(run.observer, item.event, CopyWhat::data, CopyStage::progress,
                                            copied.content.size(), before.size);
            if (answer != CopyAnswer::goOn) return endingOf<Ending>(answer);
        }
        const FileAttributes after = FakeDisk::attributesOf(*item.source.volume, *item.source.node);
        const bool same = after.size == before.size && after.modified == before.modified &&
                          after.statusChanged == before.statusChanged;
        if (same || reading == mostReadings) return Ending::made;
        before = after;
    }
}

FakeItemCopy::Ending FakeItemCopy::copyLink(Run& run, Item& item) {
    if (!item.destination.volume->capabilities.holdsLinks) return Ending::leftOut;
    const auto failed = [&](int code, const std::string& path) {
        return failedWith<Ending>(run.observer, item.event, CopyWhat::file, code, path);
    };
    if (const int code = _disk.faults().begin("copyLink", item.event.source); code != 0)
        return failed(code, item.event.source);
    CopyAnswer answer = raise(run.observer, item.event, CopyWhat::file, CopyStage::start, 0, 0);
    if (answer != CopyAnswer::goOn) return endingOf<Ending>(answer);
    if (item.destination.node) return failed(EEXIST, item.event.destination);
    if (const int code = _disk.refusalOfNew(item.destination, 0); code != 0)
        return failed(code, item.event.destination);
    const std::shared_ptr<FakeNode> copied = _disk.newNode(*item.destination.volume, FileKind::link, 0777);
    copied->content = item.source.node->content;
    (void)setDates(item, item.source.node->attributes, *copied);
    _disk.insert(item.destination, copied);
    answer = raise(run.observer, item.event, CopyWhat::file, CopyStage::finish, 0, 0);
    if (answer == CopyAnswer::quit) _disk.erase(item.destination);
    return answer == CopyAnswer::quit ? Ending::quit : Ending::made;
}

FakeItemCopy::Ending FakeItemCopy::copyFolder(Run& run, Item& item) {
    const CopyAnswer answer = raise(run.observer, item.event, CopyWhat::folder, CopyStage::start, 0, 0);
    if (answer != CopyAnswer::goOn) return endingOf<Ending>(answer);
    int code = _disk.faults().begin("copyFolder", item.event.source);
    if (code == 0) code = item.destination.node ? EEXIST : _disk.refusalOfNew(item.destination, 0);
    if (code != 0) return failedWith<Ending>(run.observer, item.event, CopyWhat::folder, code, item.event.destination);
    const std::map<std::string, std::shared_ptr<FakeNode>> entries = item.source.node->entries;
    const std::shared_ptr<FakeNode> copied = _disk.newNode(*item.destination.volume, FileKind::directory, 0700);
    _disk.insert(item.destination, copied);
    Ending ending = endingOf<Ending>(raise(run.observer, item.event, CopyWhat::folder, CopyStage::finish, 0, 0));
    if (ending == Ending::leftOut) ending = Ending::made;
    for (auto entry = entries.begin(); entry != entries.end() && ending == Ending::made; ++entry) {
        const Ending below =
            copy(run, paths::join(item.event.source, entry->first), paths::join(item.event.destination, entry->first));
        if (below == Ending::leftOut) ++run.outcome.skipped;
        if (below == Ending::failed) run.anyFailed = true;
        if (below == Ending::quit) ending = Ending::quit;
    }
    if (ending == Ending::made)
        ending = endingOf<Ending>(raise(run.observer, item.event, CopyWhat::folderCleanup, CopyStage::start, 0, 0));
    if (ending == Ending::made) {
        takeRights(*item.source.node, *copied);
        code = setDates(item, item.source.node->attributes, *copied);
        if (code != 0)
            ending =
                failedWith<Ending>(run.observer, item.event, CopyWhat::folderCleanup, code, item.event.destination);
        else if (raise(run.observer, item.event, CopyWhat::folderCleanup, CopyStage::finish, 0, 0) == CopyAnswer::quit)
            ending = Ending::quit;
    }
    if (ending == Ending::quit || ending == Ending::leftOut) _disk.erase(item.destination);
    return ending;
}

} // namespace vt
