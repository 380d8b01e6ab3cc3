// Asks the person. Thread: main; run() serves the run loop while it waits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vt {

struct Alert {
    std::string title;
    std::string message;
    std::vector<std::string> buttons; // first one is the default
    bool critical = false;
};

class AlertPanel {
  public:
    virtual ~AlertPanel() = default;
    // The index of the button pressed. Without a display the message is logged and the answer is 0 at once.
    virtual int run(const Alert& alert) = 0;
    // Ends the alert that run() shows, which then answers `code`. Nothing is shown: nothing happens.
    virtual void stopModal(int) {}
};

} // namespace vt
