// A computer's home and a drive on a fake disk, with the tree operations, a filter, a log and a controller that write
// down what they are told.
#pragma once

#include "base/LogSink.h"
#include "base/Paths.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeItemCopy.h"
#include "support/TreeLiteral.h"
#include "sync/report/MRLCopyErrorReporter.h"
#include "sync/report/ReporterDelegate.h"
#include "sync/tree/TreeOperations.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vt::test {

using Lines = std::vector<std::string>;

class NotingLog : public LogSink {
  public:
    void logMessage(std::string_view text) override { lines.emplace_back(text); }
    void debugMessage(std::string_view text) override { debug.emplace_back(text); }
    [[nodiscard]] bool debugEnabled() const override { return true; }
    Lines lines;
    Lines debug;
};

// The volumes of the fake disk. A type is given per mount point; anything else is "ext4".
class DiskVolumes : public VolumeService {
  public:
    explicit DiskVolumes(FakeDisk& disk) : _disk(disk) {}
    [[nodiscard]] Result<VolumeStat> statVolume(const std::string& path) override {
        ++statCalls;
        const auto held = _disk.lock();
        const auto spot = _disk.find(path, true);
        if (!spot) return spot.error();
        if (!spot->node) return Error::fromErrno(ENOENT, path);
        VolumeStat stat;
        stat.mountedOn = spot->volume->mountPoint;
        stat.typeName = types.contains(stat.mountedOn) ? types[stat.mountedOn] : "ext4";
        stat.freeBytes = freeBytes.contains(stat.mountedOn) ? freeBytes[stat.mountedOn] : 1'000'000'000;
        return stat;
    }
    [[nodiscard]] DestinationCapabilities capabilities(const std::string& path) override {
        return _disk.volumeOf(path).capabilities;
    }
    [[nodiscard]] std::vector<std::string> mountedVolumes() override { return mounted; }
    [[nodiscard]] std::optional<Value::Dictionary> describe(const std::string&) override { return std::nullopt; }
    void startObserving(VolumeObserver&) override {}
    void stopObserving() override {}
    [[nodiscard]] Result<void> addFolderDrive(const std::string&) override { return {}; }
    void removeFolderDrive(const std::string&) override {}
    void unmount(const std::string&, UnmountDone) override {}
    void detachGone(const std::string&, const std::string&, DetachDone) override {}

    std::map<std::string, std::string> types;
    std::map<std::string, std::uint64_t> freeBytes;
    std::vector<std::string> mounted{"/mnt/drive"};
    int statCalls = 0;

  private:
    FakeDisk& _disk;
};

// Refuses the names it is told to; under the limit also what is 4 GiB or more, and "limited" at any size.
class NotingFilter : public ItemFilter {
  public:
    bool shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                        const FileAttributes* known) const override {
        questions.push_back(path);
        if (known == nullptr) looks.push_back(path);
        if (known != nullptr && known->isLink()) ADD_FAILURE() << "a link was not followed: " << path;
        if (limitTo4G && baseName == "limited") return false;
        return !refused.contains(std::string(baseName));
    }
    std::set<std::string> refused;
    mutable Lines questions;
    mutable Lines looks; // asked without attributes
};

class NotingController : public TreeDelegate {
  public:
    void debugMessage(std::string_view text) override { debug.emplace_back(text); }
    void syncThreadLogMessage(std::string_view text) override { log.emplace_back(text); }
    void applicationLogMessage(std::string_view text) override { application.emplace_back(text); }
    bool syncThreadPerformAlertWithTitle(const std::string& title, const std::string& message, bool withCancelButton,
                                         bool withLogButton) override {
        alerts.push_back(title + "|" + message + (withCancelButton ? "|cancel" : "") + (withLogButton ? "|log" : ""));
        return answer;
    }
    void setCancelPending(bool pending, bool returnValue) override {
        cancelled = pending;
        cancelValue = returnValue;
    }
    [[nodiscard]] bool cancelPending() const override { return cancelled; }
    void setPartiallyCopiedData(std::uint64_t bytes) override { partial.push_back(bytes); }
    [[nodiscard]] std::string displayNameAtPath(const std::string& path) const override {
        return paths::lastComponent(path);
    }
    void pathFailed(const std::string& source, bool skipped) override {
        failed.push_back(source + (skipped ? " skipped" : ""));
    }
    void setFileCopyPath(const std::string* path) override { events.push_back("path " + (path ? *path : "none")); }
    void accumulateCopiedDataUInt64(std::uint64_t bytes) override {
        copied += bytes;
        events.push_back("copied " + std::to_string(bytes));
    }
    void resetPartiallyCopiedData() override { events.emplace_back("reset"); }
    void accumulateSkipFilteredDataUInt64(std::uint64_t bytes) override { filtered += bytes; }
    void accumulateSkipPresentDataUInt64(std::uint64_t bytes) override { present += bytes; }
    bool syncThreadProcessATempFolder(const std::string& folder) override {
        events.push_back("commit " + folder);
        return commit ? commit(folder) : false;
    }

    bool answer = true; // of every alert
    bool cancelled = false;
    bool cancelValue = true;
    std::function<bool(const std::string&)> commit;
    Lines debug, log, application, alerts, failed, events;
    std::vector<std::uint64_t> partial;
    std::uint64_t copied = 0;
    std::uint64_t filtered = 0;
    std::uint64_t present = 0;
};

class TreeFixture : public ::testing::Test {
  protected:
    static constexpr const char* home = "/home/ann";
    static constexpr const char* drive = "/mnt/drive";

    TreeFixture() {
        disk.mount("/home");
        disk.mount(drive);
        files.makeDirectory(home, 0755).ignore();
    }
    [[nodiscard]] TreeOperations tree() { return TreeOperations(services); }
    void computer(const std::vector<TreeItem>& items) { buildTree(files, files, home, items); }
    void onDrive(const std::vector<TreeItem>& items) { buildTree(files, files, drive, items); }
    [[nodiscard]] Lines drivePaths() { return pathsOf(files, files, drive); }
    [[nodiscard]] std::string contentOf(const std::string& path) {
        return files.read(path, 1U << 30U).valueOr("<nothing>");
    }
    [[nodiscard]] std::string d(const std::string& below) const { return std::string(drive) + "/" + below; }
    [[nodiscard]] std::string h(const std::string& below) const { return std::string(home) + "/" + below; }
    bool copy(const std::string& source, const std::string& destination) {
        return tree().copyPathOntoPath(h(source), d(destination), true, reporter.get());
    }
    bool move(const std::string& source, const std::string& destination) {
        return tree().movePathOntoPath(d(source), d(destination), true, reporter.get());
    }
    // How often the disk was asked for `operation`, of `path` where one is given.
    [[nodiscard]] int asked(const std::string& operation, const std::string& path = "") {
        int count = 0;
        for (const std::string& line : disk.faults().log())
            if (path.empty() ? line.starts_with(operation + " ") : line == operation + " " + path) ++count;
        return count;
    }

    FakeClock clock;
    FakeDisk disk{clock};
    FakeFiles files{disk};
    FakeItemCopy copier{disk};
    DiskVolumes volumes{disk};
    NotingFilter filter;
    NotingLog log;
    std::shared_ptr<NotingController> controller = std::make_shared<NotingController>();
    std::shared_ptr<MRLCopyErrorReporter> reporter = MRLCopyErrorReporter::create(controller, files, volumes);
    TreeOperations::Services services{files, copier, volumes, filter, log};
};

} // namespace vt::test
