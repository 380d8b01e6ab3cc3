// Lines that arise while a lock is held: collected, and written in order when this object goes, after the lock.
// Thread: the one that made it. Declare it before the lock that it outlives.
#pragma once

#include "base/LogSink.h"

#include <string>
#include <vector>

namespace vt {

class ConfigurationLog {
  public:
    // `debug` is the switch as it was when the configuration was opened.
    ConfigurationLog(LogSink& sink, bool debug) : _sink(sink), _debug(debug) {}
    ~ConfigurationLog() { flush(); }
    ConfigurationLog(const ConfigurationLog&) = delete;
    ConfigurationLog& operator=(const ConfigurationLog&) = delete;

    void logMessage(std::string text) { _lines.push_back(std::move(text)); }
    void debugMessage(std::string text) {
        if (_debug) _lines.push_back(std::move(text));
    }
    // Asked before a costly text is formed.
    [[nodiscard]] bool debugEnabled() const { return _debug; }
    void drop() { _lines.clear(); }
    void flush() {
        for (const auto& line : _lines) _sink.logMessage(line);
        _lines.clear();
    }

  private:
    LogSink& _sink;
    bool _debug;
    std::vector<std::string> _lines;
};

} // namespace vt
