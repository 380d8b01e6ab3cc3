// An alert panel that answers from a script and keeps what it showed. Thread: main.
#pragma once

#include "platform/AlertPanel.h"

#include <deque>
#include <functional>
#include <optional>
#include <vector>

namespace vt {

class FakeAlertPanel final : public AlertPanel {
  public:
    std::vector<Alert> shown;
    std::deque<int> answers;          // taken from the front; 0 when none is left
    std::function<void()> whileShown; // runs while the alert is up, as the run loop of a modal panel would

    int run(const Alert& alert) override {
        shown.push_back(alert);
        _stopped.reset();
        _running = true;
        if (whileShown) whileShown();
        _running = false;
        if (_stopped) return *_stopped;
        if (answers.empty()) return 0;
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void stopModal(int code) override {
        if (_running) _stopped = code;
    }

  private:
    bool _running = false;
    std::optional<int> _stopped;
};

} // namespace vt
