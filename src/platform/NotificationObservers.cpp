#include "platform/NotificationObservers.h"

#include <utility>
#include <vector>

namespace vt {

class NotificationObservers::Entry final : public Notifications::Observation {
  public:
    Entry(std::shared_ptr<NotificationObservers> owner, std::uint64_t number)
        : _owner(std::move(owner)), _number(number) {}
    ~Entry() override { _owner->_observers.erase(_number); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

  private:
    std::shared_ptr<NotificationObservers> _owner;
    std::uint64_t _number;
};

std::unique_ptr<Notifications::Observation>
NotificationObservers::add(const std::string& name, const std::string& object, Notifications::Handler handler) {
    const std::uint64_t number = _next++;
    _observers.emplace(number, std::make_shared<const Observer>(Observer{name, object, std::move(handler)}));
    return std::make_unique<Entry>(shared_from_this(), number);
}

void NotificationObservers::deliver(const std::string& name, const std::string& object,
                                    const Value::Dictionary& userInfo) const {
    std::vector<std::uint64_t> matching;
    for (const auto& [number, observer] : _observers) {
        const bool nameFits = observer->name.empty() || observer->name == name;
        const bool objectFits = observer->object.empty() || observer->object == object;
        if (nameFits && objectFits) matching.push_back(number);
    }
    for (const std::uint64_t number : matching) {
        const auto found = _observers.find(number);
        if (found == _observers.end()) continue;
        const std::shared_ptr<const Observer> observer = found->second; // it may end its own observation
        observer->handler(userInfo);
    }
}

} // namespace vt
