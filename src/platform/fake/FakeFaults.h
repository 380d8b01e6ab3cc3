// What goes wrong on a fake disk, and a log of what was asked of it. Thread: as its disk.
// Operations are named as in FileService and FileContents; a copy asks for "copyFile", "copyLink", "copyFolder",
// "copyData" and "setDates".
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vt {

class FakeFaults {
  public:
    // Every call of `operation` ("" for any) at or below `path` ("" for anywhere) fails with `code`; with `nth` only
    // the nth matching call from now on, counted from 1.
    void fail(const std::string& operation, const std::string& path, int code, int nth = 0);
    // Runs before every matching call, with the call's path.
    void before(const std::string& operation, const std::string& path, std::function<void(const std::string&)> hook);
    void clear();

    // "operation path" in the order of the calls; a move is "move from -> to".
    [[nodiscard]] const std::vector<std::string>& log() const { return _log; }
    void clearLog() { _log.clear(); }

    // Called by the fakes: notes the call, runs hooks, and answers the errno it fails with, or 0.
    [[nodiscard]] int begin(const std::string& operation, const std::string& path, const std::string& second = {});

  private:
    struct Rule {
        std::string operation;
        std::string path;
        int code = 0;
        int nth = 0;
        int seen = 0;
        std::function<void(const std::string&)> hook;
    };
    std::vector<Rule> _rules;
    std::vector<std::string> _log;
};

} // namespace vt
