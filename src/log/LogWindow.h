// What the log controller needs of a log window. Thread: main.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vt {

class LogWindow {
  public:
    using Identifier = std::uint64_t; // the window system's own name for a window
    virtual ~LogWindow() = default;
    virtual void setTitle(const std::string& title) = 0;
    virtual void setFrameAutosaveName(const std::string& name) = 0;
    virtual void setText(std::string_view text) = 0;    // and scrolls to its end
    virtual void appendText(std::string_view text) = 0; // and scrolls to its end
    [[nodiscard]] virtual std::string text() const = 0;
    virtual void show() = 0; // in front and active
    // Visible just behind that window, which stays active. In front where windows cannot be ordered.
    virtual void orderBehind(Identifier /*window*/) { show(); }
    virtual void performClose() = 0;
    [[nodiscard]] virtual bool isVisible() const = 0;
    // Asks the question of Clear Log: a sheet when the window is visible, else a panel. `yes` runs on the default
    // answer.
    virtual void askToClear(const std::string& title, const std::string& message, std::function<void()> yes) = 0;
};

} // namespace vt
