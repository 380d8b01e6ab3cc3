// An alert panel that answers from a script and keeps what it showed. Thread: main.
#pragma once

#include "platform/AlertPanel.h"

#include <deque>
#include <functional>
#include <vector>

namespace vt {

class FakeAlertPanel final : public AlertPanel {
  public:
    std::vector<Alert> shown;
    std::deque<int> answers;          // taken from the front; 0 when none is left
    std::function<void()> whileShown; // runs while the alert is up, as the run loop of a modal panel would

    int run(const Alert& alert) override {
        shown.push_back(alert);
        if (whileShown) whileShown();
        if (answers.empty()) return 0;
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

} // namespace vt
