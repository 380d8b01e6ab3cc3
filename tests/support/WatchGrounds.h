// The places that the contract about folder events is tried on: the fake, the kernel's events, and repeated looks.
#pragma once

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFileEvents.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/watch/LinuxFileEvents.h"
#include "platform/linux/watch/PollingFileEvents.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace vt::test {

// A folder to act in, and the events about it. Paths are relative to root().
class WatchGround {
  public:
    virtual ~WatchGround() = default;
    [[nodiscard]] virtual FileEvents& events() = 0;
    [[nodiscard]] virtual std::string root() const = 0;
    virtual void write(const std::string& path, const std::string& content) = 0;
    virtual void makeFolder(const std::string& path) = 0; // with those that lead there
    virtual void move(const std::string& from, const std::string& to) = 0;
    virtual void remove(const std::string& path) = 0; // a whole tree
    virtual void setMode(const std::string& path, unsigned mode) = 0;
    virtual void makeLink(const std::string& path, const std::string& target) = 0;
    virtual void read(const std::string& path) = 0;   // a file or a folder
    virtual void watchingBegan(const std::string&) {} // of this folder; the real ones find out for themselves
    FakeClock clock;
    FakeRunLoop runLoop{clock};
};

inline WatchOptions quickOptions(const std::string& root) {
    WatchOptions options;
    options.ignored = {root + "/own", root + "/folder/own.log"};
    options.pollInterval = std::chrono::milliseconds(2);
    return options;
}

template <class Events> class RealWatchGround final : public WatchGround {
  public:
    [[nodiscard]] FileEvents& events() override { return _events; }
    [[nodiscard]] std::string root() const override { return _folder.path(); }
    void write(const std::string& path, const std::string& content) override {
        std::ofstream(_folder / path, std::ios::binary | std::ios::app) << content;
    }
    void makeFolder(const std::string& path) override { std::filesystem::create_directories(_folder / path); }
    void move(const std::string& from, const std::string& to) override {
        std::filesystem::rename(_folder / from, _folder / to);
    }
    void remove(const std::string& path) override { std::filesystem::remove_all(_folder / path); }
    void setMode(const std::string& path, unsigned mode) override { ::chmod((_folder / path).c_str(), mode); }
    void makeLink(const std::string& path, const std::string& target) override {
        std::filesystem::create_symlink(target, _folder / path);
    }
    void read(const std::string& path) override {
        const std::string full = _folder / path;
        if (std::filesystem::is_directory(full)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(full)) (void)entry.file_size(_error);
            return;
        }
        std::string content;
        std::ifstream(full, std::ios::binary) >> content;
    }

  private:
    std::error_code _error;
    TemporaryFolder _folder;
    Events _events{runLoop, quickOptions(_folder.path())};
};

// Nothing is on a disk: what is done raises what the real ones would.
class FakeWatchGround final : public WatchGround {
  public:
    [[nodiscard]] FileEvents& events() override { return _events; }
    [[nodiscard]] std::string root() const override { return "/ground"; }
    void write(const std::string& path, const std::string&) override { fire(path); }
    void makeFolder(const std::string& path) override { fire(path); }
    void move(const std::string& from, const std::string& to) override {
        fire(from);
        fire(to);
        for (const std::string& watched : _events.watched())
            if (paths::isAtOrBelow(watched, root() + "/" + from) || paths::isAtOrBelow(watched, root() + "/" + to))
                _events.fire(watched);
    }
    void remove(const std::string& path) override { move(path, path); }
    void setMode(const std::string& path, unsigned) override { fire(path); }
    void makeLink(const std::string& path, const std::string& target) override {
        const std::string link = root() + "/" + path;
        _events.links[link] = paths::clean(paths::join(paths::parent(link), target));
        fire(path);
    }
    void read(const std::string&) override {}
    void watchingBegan(const std::string& path) override { _events.completed(root() + "/" + path); }

  private:
    void fire(const std::string& path) {
        if (path != "folder/own.log") _events.fire(root() + "/" + path);
    }
    FakeFileEvents _events{runLoop};
};

} // namespace vt::test
