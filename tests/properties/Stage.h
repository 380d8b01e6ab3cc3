// Plays stories on a whole engine with fakes below it, and holds every sync against the model and against what must
// hold whatever the rules of the day are. Thread: the test's.
#pragma once

#include "Model.h"
#include "Story.h"
#include "support/SyncWorld.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt::test {

class Stage {
  public:
    explicit Stage(const Story& story);
    // What went wrong, or nothing.
    [[nodiscard]] std::string play(const Event& event);
    [[nodiscard]] std::string end();

  private:
    struct Party {
        std::unique_ptr<FakeSystemIdentity> system;
        std::unique_ptr<WorldHost> host;
        std::unique_ptr<SyncServices> services;
        std::shared_ptr<VTSyncController> controller;
        WorldHost* log = nullptr;
        model::User user;
        std::string lastWritten;
        bool uncertain = false; // what a sync left that was cancelled or raced: until the next whole one
        bool backdated = false; // dates that went backwards: what the dates hide is not asked for
    };
    struct Round {
        model::Tree computerBefore, computer, before, after;
        model::User userBefore;
        model::Request request;
        bool exact = true;
        bool clean = true;      // nothing that fails, no cancel
        bool uncertain = false; // a sync before this one was cancelled or disturbed
        bool success = false;
        bool cancelled = false;
        std::int64_t lastSync = 0;
    };

    void addBob();
    void change(Party& party, const Event& event);
    void put(const std::string& path, const std::string& content, Date date);
    void clearWay(const std::string& path);
    [[nodiscard]] std::string newContent(int size);
    [[nodiscard]] std::string newOwnContent(int size);
    [[nodiscard]] std::string syncAndCheck(Party& party, const Event& event);
    void carryOut(Party& party, const Event& event, Round& round);
    [[nodiscard]] std::string checkAgainstModel(Party& party, const Round& round, const model::Outcome& expected);
    [[nodiscard]] static std::string compareTrees(const model::Tree& expected, const model::Tree& actual);
    [[nodiscard]] std::string nothingWasLost(const Round& round) const;
    [[nodiscard]] static std::string everythingArrived(const Round& round);
    [[nodiscard]] static std::string nothingTemporary(const Party& party, const Round& round);
    [[nodiscard]] bool isPredictable(const Party& party, const Round& round) const;
    [[nodiscard]] std::optional<std::int64_t> dateOfPackageAt(const std::string& path);
    [[nodiscard]] model::Tree treeOf(const std::vector<std::string>& roots);
    [[nodiscard]] std::string localPath(const Party& party, int path) const;

    SyncWorld _world;
    Party _parties[2];
    int _contents = 0;
    std::set<std::string> _ownContents; // those that were written on a computer
};

} // namespace vt::test
