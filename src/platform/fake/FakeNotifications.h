// Notifications that a test can look at and send. Deliveries come at the run loop's next turn, as from the real one.
// Thread: main.
#pragma once

#include "platform/NotificationObservers.h"
#include "platform/RunLoop.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vt {

class FakeNotifications final : public Notifications {
  public:
    explicit FakeNotifications(RunLoop& runLoop) : _runLoop(runLoop) {}

    struct Posted {
        std::string name;
        std::string object;
        std::optional<Value::Dictionary> userInfo;
        DeliveryOptions options = 0;
    };
    // Everything this process posted, in order; a test may clear it.
    std::vector<Posted> posted;
    // Names of `posted`, for short assertions.
    [[nodiscard]] std::vector<std::string> postedNames() const {
        std::vector<std::string> names;
        for (const Posted& post : posted) names.push_back(post.name);
        return names;
    }
    // A post of another process.
    void arrive(const std::string& name, const std::string& object, const Value::Dictionary& userInfo) {
        _runLoop.performLater([observers = std::weak_ptr(_observers), name, object, userInfo] {
            if (const auto alive = observers.lock()) alive->deliver(name, object, userInfo);
        });
    }

    void post(const std::string& name, const std::string& object, const std::optional<Value::Dictionary>& userInfo,
              DeliveryOptions options) override {
        posted.push_back({name, object, userInfo, options});
        arrive(name, object, userInfo.value_or(Value::Dictionary{}));
    }
    [[nodiscard]] std::unique_ptr<Observation> observe(const std::string& name, const std::string& object,
                                                       Handler handler) override {
        return std::make_unique<Ending>(_observers->add(name, object, std::move(handler)), [this, name] {
            if (observationEnds) observationEnds(name);
        });
    }
    std::function<void(const std::string& name)> observationEnds; // may be empty

  private:
    // Tells when it is let go.
    class Ending final : public Observation {
      public:
        Ending(std::unique_ptr<Observation> held, std::function<void()> ends)
            : _held(std::move(held)), _ends(std::move(ends)) {}
        ~Ending() override { _ends(); }
        Ending(const Ending&) = delete;
        Ending& operator=(const Ending&) = delete;

      private:
        std::unique_ptr<Observation> _held;
        std::function<void()> _ends;
    };

    RunLoop& _runLoop;
    std::shared_ptr<NotificationObservers> _observers = std::make_shared<NotificationObservers>();
};

} // namespace vt
