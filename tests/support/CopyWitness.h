// An observer that writes down every event of a copy and answers as it was told.
#pragma once

#include "platform/ItemCopyService.h"

#include <functional>
#include <string>
#include <vector>

namespace vt::test {

class CopyWitness final : public CopyObserver {
  public:
    void answerErrors(CopyAnswer answer) { _errorAnswer = answer; }
    void answerEvent(std::size_t number, CopyAnswer answer) { // counted from 1
        _eventNumber = number;
        _eventAnswer = answer;
    }
    void onEvent(std::function<CopyAnswer(const CopyEvent&)> hook) { _hook = std::move(hook); }

    CopyAnswer copyEvent(const CopyEvent& event) override {
        const char* whats[] = {"?", "file", "folder", "cleanup", "data", "attribute"};
        const char* stages[] = {"?", "start", "finish", "error", "progress"};
        const bool progressed = event.stage == CopyStage::progress;
        _lines.push_back(std::string(whats[static_cast<std::size_t>(event.what)]) + " " +
                         stages[static_cast<std::size_t>(event.stage)] + " " +
                         std::to_string(progressed ? event.copiedBytes : event.sourceSize));
        _sources.push_back(event.source);
        if (progressed) _progress.push_back(event.copiedBytes);
        CopyAnswer answer = _hook ? _hook(event) : CopyAnswer::goOn;
        if (event.stage == CopyStage::error) {
            _errors.push_back(event.error.code);
            answer = _errorAnswer;
        }
        return _lines.size() == _eventNumber ? _eventAnswer : answer;
    }

    [[nodiscard]] const std::vector<std::string>& lines() const { return _lines; } // "file start 5"
    [[nodiscard]] const std::vector<std::string>& sources() const { return _sources; }
    [[nodiscard]] const std::vector<std::uint64_t>& progress() const { return _progress; }
    [[nodiscard]] const std::vector<int>& errors() const { return _errors; }

  private:
    CopyAnswer _errorAnswer = CopyAnswer::goOn;
    std::size_t _eventNumber = 0;
    CopyAnswer _eventAnswer = CopyAnswer::goOn;
    std::function<CopyAnswer(const CopyEvent&)> _hook;
    std::vector<std::string> _lines;
    std::vector<std::string> _sources;
    std::vector<std::uint64_t> _progress;
    std::vector<int> _errors;
};

} // namespace vt::test
