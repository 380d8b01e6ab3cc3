// Who observes which notification in this process: the part that every implementation of Notifications shares.
// Thread: main. Must be made by std::make_shared: observations keep it alive.
#pragma once

#include "platform/Notifications.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace vt {

class NotificationObservers : public std::enable_shared_from_this<NotificationObservers> {
  public:
    // An empty name or object stands for any.
    [[nodiscard]] std::unique_ptr<Notifications::Observation> add(const std::string& name, const std::string& object,
                                                                  Notifications::Handler handler);
    // Calls the matching handlers in the order of their arrival; one that is removed meanwhile is not called any more.
    void deliver(const std::string& name, const std::string& object, const Value::Dictionary& userInfo) const;

  private:
    class Entry;
    struct Observer {
        std::string name;
        std::string object;
        Notifications::Handler handler;
    };
    std::uint64_t _next = 0;
    std::map<std::uint64_t, std::shared_ptr<const Observer>> _observers;
};

} // namespace vt
