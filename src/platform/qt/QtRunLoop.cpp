#include "platform/qt/QtRunLoop.h"

#include "platform/HandoverQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <limits>
#include <utility>

namespace vt {

namespace {

// One event per handed-over item; an item that was served early leaves its event nothing to do.
const QEvent::Type handoverEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

class QtTimer final : public Timer {
  public:
    QtTimer(std::chrono::milliseconds interval, bool once, std::function<void()> work) : _timer(new QTimer) {
        constexpr std::chrono::milliseconds longest{std::numeric_limits<int>::max()};
        _timer->setTimerType(Qt::PreciseTimer);
        _timer->setSingleShot(once);
        _timer->setInterval(std::clamp(interval, std::chrono::milliseconds(0), longest));
        QObject::connect(_timer, &QTimer::timeout, _timer,
                         [body = std::move(work)] { HandoverQueue::runGuarded(body); });
        _timer->start();
    }
    // The work may destroy its own timer, so the Qt object goes at the loop's next turn.
    ~QtTimer() override {
        _timer->stop();
        _timer->deleteLater();
    }
    QtTimer(const QtTimer&) = delete;
    QtTimer& operator=(const QtTimer&) = delete;

  private:
    QTimer* _timer;
};

} // namespace

class QtRunLoop::Receiver final : public QObject {
  public:
    Receiver() : queue([this] { QCoreApplication::postEvent(this, new QEvent(handoverEvent)); }) {}
    bool event(QEvent* event) override {
        if (event->type() != handoverEvent) return QObject::event(event);
        queue.runNext();
        return true;
    }
    HandoverQueue queue;
};

QtRunLoop::QtRunLoop() : _receiver(std::make_unique<Receiver>()) {}

QtRunLoop::~QtRunLoop() = default;

int QtRunLoop::exec() {
    return QCoreApplication::exec();
}

void QtRunLoop::quit(int exitCode) {
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [exitCode] { QCoreApplication::exit(exitCode); }, Qt::QueuedConnection);
}

bool QtRunLoop::isMainThread() const {
    return _receiver->queue.isMainThread();
}

bool QtRunLoop::performAndWait(std::function<void()> work) {
    return _receiver->queue.performAndWait(std::move(work));
}

void QtRunLoop::performLater(std::function<void()> work) {
    _receiver->queue.performLater(std::move(work));
}

std::unique_ptr<Timer> QtRunLoop::after(std::chrono::milliseconds delay, std::function<void()> work) {
    return std::make_unique<QtTimer>(delay, true, std::move(work));
}

std::unique_ptr<Timer> QtRunLoop::every(std::chrono::milliseconds period, std::function<void()> work) {
    return std::make_unique<QtTimer>(period, false, std::move(work));
}

bool QtRunLoop::serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) {
    return _receiver->queue.serveUntil(done, atMost);
}

void QtRunLoop::beginShutdown() {
    _receiver->queue.beginShutdown();
}

} // namespace vt
