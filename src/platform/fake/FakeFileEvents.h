// Folder events that a test raises, and a record of what is watched. Deliveries come at the run loop's next turn.
// Thread: main.
#pragma once

#include "base/Paths.h"
#include "platform/FileEvents.h"
#include "platform/RunLoop.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vt {

class FakeFileEvents final : public FileEvents {
  public:
    explicit FakeFileEvents(RunLoop& runLoop) : _runLoop(runLoop) {}

    bool refuse = false; // streams cannot be made
    struct Made {
        std::string path;
        FileEventSettings settings;
    };
    std::vector<Made> made; // every stream in order, also those that have gone
    std::vector<std::string> leftOut;
    std::map<std::string, std::string> links; // where a link leads, by its path

    [[nodiscard]] std::vector<std::string> watched() const {
        std::vector<std::string> paths;
        for (const auto& entry : _table->entries) paths.push_back(entry->path);
        return paths;
    }
    void onStreamEnd(std::function<void()> tell) { _table->streamEnds = std::move(tell); }
    // Something changed at `path`: every stream of it or of a folder above it is told.
    void fire(const std::string& path) { tell(path, false); }
    // The folder has come to be watched.
    void completed(const std::string& path) { tell(path, true); }

    [[nodiscard]] std::unique_ptr<FileEventStream> stream(const std::string& path, const FileEventSettings& settings,
                                                          std::function<void()> changed) override {
        if (refuse) return nullptr;
        made.push_back({path, settings});
        auto entry = std::make_shared<Entry>(Entry{path, settings, std::move(changed), _table->lastEventId});
        _table->entries.push_back(entry);
        return std::make_unique<Stream>(_table, std::move(entry));
    }
    void leaveOut(const std::vector<std::string>& folders) override {
        leftOut = folders;
        for (const std::string& folder : folders)
            if (const auto link = links.find(folder); link != links.end()) leftOut.push_back(link->second);
    }

  private:
    struct Entry {
        std::string path;
        FileEventSettings settings;
        std::function<void()> changed;
        std::uint64_t latestEventId = 0;
    };
    struct Table {
        std::vector<std::shared_ptr<Entry>> entries;
        std::function<void()> streamEnds; // may be empty
        std::uint64_t lastEventId = 0;
    };
    class Stream final : public FileEventStream {
      public:
        Stream(std::shared_ptr<Table> table, std::shared_ptr<Entry> entry)
            : _table(std::move(table)), _entry(std::move(entry)) {}
        ~Stream() override {
            std::erase(_table->entries, _entry);
            if (_table->streamEnds) _table->streamEnds();
        }
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        [[nodiscard]] std::uint64_t latestEventId() const override { return _entry->latestEventId; }

      private:
        std::shared_ptr<Table> _table;
        std::shared_ptr<Entry> _entry;
    };

    // Outside of a folder that is left out, unless the stream itself lies in there.
    [[nodiscard]] bool concerns(const std::string& root, const std::string& path) const {
        return paths::isAtOrBelow(path, root) &&
               std::none_of(leftOut.begin(), leftOut.end(), [&](const std::string& folder) {
                   return paths::isAtOrBelow(path, folder) && !paths::isAtOrBelow(root, folder);
               });
    }
    void tell(const std::string& path, bool complete) {
        // The paths are settled now, the streams when it is delivered: one that was made again in between is told.
        std::vector<std::string> roots;
        for (const auto& entry : _table->entries)
            if (complete ? entry->path == path : concerns(entry->path, path)) roots.push_back(entry->path);
        _runLoop.performLater([table = std::weak_ptr(_table), roots, complete] {
            const auto alive = table.lock();
            if (!alive) return;
            ++alive->lastEventId;
            const auto entries = alive->entries;
            for (const auto& entry : entries) {
                if (std::find(roots.begin(), roots.end(), entry->path) == roots.end()) continue;
                if (std::find(alive->entries.begin(), alive->entries.end(), entry) == alive->entries.end()) continue;
                entry->latestEventId = alive->lastEventId;
                complete && entry->settings.complete ? entry->settings.complete() : entry->changed();
            }
        });
    }

    RunLoop& _runLoop;
    std::shared_ptr<Table> _table = std::make_shared<Table>();
};

} // namespace vt
