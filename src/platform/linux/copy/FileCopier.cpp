#include "platform/linux/copy/FileCopier.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace vt {

namespace {

constexpr int mostReadings = 4; // one, and three more of a file that changes meanwhile

bool isSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isUnchanged(const struct stat& before, const struct stat& after) {
    return before.st_size == after.st_size && isSame(before.st_mtim, after.st_mtim) &&
           isSame(before.st_ctim, after.st_ctim);
}

// Dates move in steps: the clock's ticks, or whole seconds where the file system keeps no more (of those FAT keeps
// every second one). What is written within the step of `status` leaves no later date.
bool mayStillChangeUnseen(const struct stat& status) {
    constexpr std::int64_t second = 1'000'000'000;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const std::int64_t age = (now.tv_sec - status.st_mtim.tv_sec) * second + (now.tv_nsec - status.st_mtim.tv_nsec);
    const bool wholeSeconds = status.st_mtim.tv_nsec == 0 && status.st_ctim.tv_nsec == 0;
    return age <= (wholeSeconds ? 2 * second : 0) && age > -second;
}

// Network shares and file systems in user space write at the closing of a file, which gives it a new date.
bool closingChangesDate(int file) {
    struct statfs volume {};
    if (::fstatfs(file, &volume) != 0) return false;
    constexpr unsigned fuse = 0x65735546, cifs = 0xFF534D42, smb2 = 0xFE534D42, nfs = 0x6969;
    const auto type = static_cast<unsigned>(volume.f_type);
    return type == fuse || type == cifs || type == smb2 || type == nfs;
}

} // namespace

// A file that is being made. Destroyed before it was kept, it leaves nothing.
struct FileCopier::Making {
    Making(const ItemSpot& from, const ItemSpot& to) : source(from), destination(to) {}
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;
    ~Making() {
        if (!made || kept) return;
        output.reset();
        destination.removeFile();
    }
    [[nodiscard]] std::uint64_t size() const { return static_cast<std::uint64_t>(before.st_size); }

    const ItemSpot& source;
    const ItemSpot& destination;
    UniqueFd input;
    UniqueFd output;
    struct stat before {}; // the source as it was before its last reading
    NewFileTraits* traits = nullptr;
    mode_t askedMode = 0;
    bool readAhead = false;
    bool made = false;
    bool kept = false;
};

FileCopier::FileCopier(CopyExperience& experience, const DestinationCapabilities& capabilities, CopyEvents& events)
    : _experience(experience), _capabilities(capabilities), _events(events), _metadata(experience, capabilities) {}

CopyEnding FileCopier::copyFile(const ItemSpot& source, const ItemSpot& destination, bool readAhead) {
    _events.setItem(source.path(), destination.path());
    Making making(source, destination);
    making.readAhead = readAhead;
    Result<UniqueFd> input = source.open(O_RDONLY | O_NONBLOCK);
    if (!input) return _events.failed(CopyWhat::file, input.error());
    making.input = std::move(input).value();
    if (const int code = lookBeforeReading(making); code != 0)
        return _events.failed(CopyWhat::file, source.error(code));
    if (!S_ISREG(making.before.st_mode)) return _events.failed(CopyWhat::file, source.error(EOPNOTSUPP));
    const CopyAnswer answer = _events.raise(CopyWhat::file, CopyStage::start, 0, making.size());
    if (answer != CopyAnswer::goOn) return CopyEvents::endingOf(answer);
    return makeFile(making);
}

// A later change must be told by its date: the reading begins when the step of the file's date is over. A file that
// changes all the time is not waited for.
int FileCopier::lookBeforeReading(Making& making) {
    if (::fstat(making.input.get(), &making.before) != 0) return errno;
    const struct stat seen = making.before;
    if (!S_ISREG(seen.st_mode) || !mayStillChangeUnseen(seen)) return 0;
    while (mayStillChangeUnseen(seen)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return ::fstat(making.input.get(), &making.before) == 0 ? 0 : errno;
}

CopyEnding FileCopier::makeFile(Making& making) {
    if (making.size() > _capabilities.largestFile)
        return _events.failed(CopyWhat::file, making.destination.error(EFBIG));
    making.askedMode = _metadata.modeToCreateWith(making.before);
    Result<UniqueFd> output = making.destination.open(O_WRONLY | O_CREAT | O_EXCL, making.askedMode);
    if (!output) return _events.failed(CopyWhat::file, output.error());
    making.made = true;
    making.output = std::move(output).value();
    if (const CopyEnding ending = copyContent(making); ending != CopyEnding::made) return ending;
    if (const int code = finish(making); code != 0)
        return _events.failed(CopyWhat::file, making.destination.error(code));
    const CopyAnswer answer = _events.raise(CopyWhat::file, CopyStage::finish, making.size(), making.size());
    if (answer == CopyAnswer::quit) return CopyEnding::quit;
    making.kept = true;
    _bytes += making.size();
    return CopyEnding::made;
}

CopyEnding FileCopier::copyContent(Making& making) {
    CopyAnswer answer = CopyAnswer::goOn;
    const DataCopy::Progress progress = [&](std::uint64_t copied) {
        answer = _events.raise(CopyWhat::data, CopyStage::progress, copied, making.size());
        return answer == CopyAnswer::goOn;
    };
    making.traits = &_experience.traitsBeside(making.destination.path());
    DataCopy data(_experience, progress, making.readAhead);
    for (int reading = 1;; ++reading) {
        const int code = data.copy(making.input.get(), making.before, making.output.get(), making.traits->device);
        if (answer != CopyAnswer::goOn) return CopyEvents::endingOf(answer);
        if (code != 0) return _events.failed(CopyWhat::data, making.destination.error(code));
        struct stat after {};
        if (::fstat(making.input.get(), &after) != 0) return _events.failed(CopyWhat::data, making.source.error(errno));
        if (isUnchanged(making.before, after) || reading == mostReadings) return CopyEnding::made;
        if (const int again = lookBeforeReading(making); again != 0)
            return _events.failed(CopyWhat::data, making.source.error(again));
        if (making.size() > _capabilities.largestFile)
            return _events.failed(CopyWhat::data, making.destination.error(EFBIG));
        if (::ftruncate(making.output.get(), 0) != 0)
            return _events.failed(CopyWhat::data, making.destination.error(errno));
    }
}

int FileCopier::lookAtNewFile(Making& making, struct stat& made) {
    NewFileTraits& traits = *making.traits;
    if (traits.known && (making.askedMode & ~traits.granted) == 0) {
        made.st_uid = traits.owner;
        made.st_gid = traits.group;
        made.st_mode = making.askedMode;
        return 0;
    }
    if (::fstat(making.output.get(), &made) != 0) return errno;
    if (!traits.known && traits.device != made.st_dev) traits.datesByPath = closingChangesDate(making.output.get());
    traits.device = made.st_dev;
    traits.owner = made.st_uid;
    traits.group = made.st_gid;
    traits.granted |= making.askedMode & made.st_mode;
    traits.known = true;
    return 0;
}

int FileCopier::finish(Making& making) {
    struct stat made {};
    if (const int code = lookAtNewFile(making, made); code != 0) return code;
    _metadata.copyRights(making.input.get(), making.before, making.output.get(), made);
    if (!making.traits->datesByPath) {
        const int code = _metadata.setDates(making.output.get(), making.before);
        return code != 0 ? code : making.output.close();
    }
    if (const int code = making.output.close(); code != 0) return code;
    return _metadata.setDates(making.destination, making.before);
}

CopyEnding FileCopier::copyLink(const ItemSpot& source, const ItemSpot& destination) {
    if (!_capabilities.holdsLinks) return CopyEnding::leftOut;
    _events.setItem(source.path(), destination.path());
    const Result<struct stat> status = source.status();
    if (!status) return _events.failed(CopyWhat::file, status.error());
    const Result<std::string> target = source.readLink();
    if (!target) return _events.failed(CopyWhat::file, target.error());
    CopyAnswer answer = _events.raise(CopyWhat::file, CopyStage::start, 0, 0);
    if (answer != CopyAnswer::goOn) return CopyEvents::endingOf(answer);
    if (const Result<void> made = destination.makeLink(*target); !made)
        return _events.failed(CopyWhat::file, made.error());
    _metadata.copyLinkOwner(destination, *status);
    const int code = _metadata.setDates(destination, *status);
    // Some file systems hold links but not their dates; a link's date decides nothing.
    if (code != 0 && code != EOPNOTSUPP && code != ENOSYS) {
        const CopyEnding ending = _events.failed(CopyWhat::file, destination.error(code));
        destination.removeFile();
        return ending;
    }
    answer = _events.raise(CopyWhat::file, CopyStage::finish, 0, 0);
    if (answer == CopyAnswer::quit) destination.removeFile();
    return answer == CopyAnswer::quit ? CopyEnding::quit : CopyEnding::made;
}

} // namespace vt
