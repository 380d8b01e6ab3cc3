// What a sync controller needs of its progress window, which stays hidden: progress reaches people through the activity
// notifications. Thread: main.
#pragma once

namespace vt {

class ProgressWindow {
  public:
    virtual ~ProgressWindow() = default;
    virtual void close() = 0;
};

} // namespace vt
