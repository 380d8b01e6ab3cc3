// Qt's application object, for tests that need its event loop. Made on first use; the thread that makes it is Qt's main
// thread.
#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>

namespace vt::test {

inline QCoreApplication& qtApplication() {
    static int count = 1;
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    static QCoreApplication application(count, arguments);
    return application;
}

// Runs Qt's event loop until `done` answers true; false after two minutes, which no working program needs.
inline bool qtRunUntil(const std::function<bool()>& done) {
    qtApplication();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    QTimer tick; // `done` may turn true without an event
    tick.start(std::chrono::milliseconds(5));
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace vt::test
