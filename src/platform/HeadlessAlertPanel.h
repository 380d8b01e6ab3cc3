// The alert panel without a display: every alert is a line of the system log and is answered with the first button.
// Thread: main.
#pragma once

#include "platform/AlertPanel.h"

namespace vt {

class HeadlessAlertPanel final : public AlertPanel {
  public:
    int run(const Alert& alert) override;
};

} // namespace vt
