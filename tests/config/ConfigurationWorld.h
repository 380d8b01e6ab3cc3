// A computer, a drive and what a configuration file needs of them, for tests.
#pragma once

#include "base/LogSink.h"
#include "base/Paths.h"
#include "config/VTConfigurationFile.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeSystemIdentity.h"
#include "platform/linux/LinuxPropertyLists.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace vt::test {

class RecordingLog final : public LogSink {
  public:
    bool debug = false;
    std::function<void()> whileLogging;

    void logMessage(std::string_view text) override {
        if (whileLogging) whileLogging();
        const std::scoped_lock lock(_mutex);
        _lines.emplace_back(text);
    }
    void debugMessage(std::string_view text) override {
        if (debug) logMessage(text);
    }
    [[nodiscard]] bool debugEnabled() const override { return debug; }
    [[nodiscard]] std::vector<std::string> lines() const {
        const std::scoped_lock lock(_mutex);
        return _lines;
    }
    [[nodiscard]] bool has(const std::string& line) const {
        const auto all = lines();
        return std::find(all.begin(), all.end(), line) != all.end();
    }
    void clear() {
        const std::scoped_lock lock(_mutex);
        _lines.clear();
    }

  private:
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
};

struct FixedHost final : HostIdentity {
    std::string id = "001B63A1B2C3-501";
    [[nodiscard]] std::string uniqueHostUserId() const override { return id; }
};

struct ConfigurationWorld {
    static constexpr const char* drive = "/media/stick";
    static constexpr const char* path = "/media/stick/.VantaroConfig";

    FakeClock clock{Date::fromSeconds(1'369'134'000)}; // 2013-05-21 11:00 UTC: the same day wherever the tests run
    FakeDisk disk{clock};
    FakeFiles files{disk};
    LinuxPropertyLists propertyLists;
    FakePreferences preferences;
    FakeSystemIdentity system;
    FixedHost host;
    RecordingLog log;
    bool keepAside = true;

    ConfigurationWorld() {
        makeFolders("/home/ada");
        disk.mount(drive);
    }
    [[nodiscard]] ConfigurationServices services() {
        return {files, files, propertyLists, preferences, system, host, clock, log, keepAside};
    }
    [[nodiscard]] std::shared_ptr<VTConfigurationFile> open(int syncType = VTConfigurationFile::ptop) {
        return VTConfigurationFile::configWithMountPoint(drive, syncType, services());
    }
    void makeFolders(const std::string& folder) {
        std::string made = "/";
        for (const auto& name : paths::components(folder)) {
            if (name == "/") continue;
            made = paths::join(made, name);
            const bool there = files.attributes(made).ok();
            EXPECT_TRUE(there || files.makeDirectory(made, 0755).ok()) << made;
        }
    }
    void put(const std::string& file, std::string_view bytes) {
        makeFolders(paths::parent(file));
        EXPECT_TRUE(files.writeAtomically(file, bytes, 0644).ok()) << file;
    }
    void putRoot(const Value::Dictionary& root) { put(path, propertyLists.xml(Value(root)).valueOr("")); }
    [[nodiscard]] bool exists(const std::string& file) { return files.attributes(file).ok(); }
    [[nodiscard]] std::string bytes(const std::string& file) { return files.read(file, 1ULL << 30U).valueOr("(none)"); }
    // What a fresh reader finds in the file.
    [[nodiscard]] Value::Dictionary root() {
        const auto value = propertyLists.parse(bytes(path));
        return value && value->asDictionary() != nullptr ? *value->asDictionary() : Value::Dictionary();
    }
    [[nodiscard]] Value::Dictionary userEntry(const std::string& user) {
        const auto all = root();
        const auto found = all.find(user);
        return found != all.end() && found->second.asDictionary() != nullptr ? *found->second.asDictionary()
                                                                             : Value::Dictionary();
    }
};

// A current root with these further keys.
[[nodiscard]] inline Value::Dictionary currentRoot(Value::Dictionary more = {}) {
    more.try_emplace("config-version", 3);
    more.try_emplace("sync-type", "ptop");
    more.try_emplace("ptop-list", Value::Dictionary());
    return more;
}

using Lines = std::vector<std::string>;
using Items = std::vector<std::string>;

} // namespace vt::test
