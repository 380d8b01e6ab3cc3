// Preference domains in memory; what was synchronised is kept apart from what was only set. Thread: main.
#pragma once

#include "platform/Preferences.h"

#include <map>
#include <utility>

namespace vt {

class FakePreferences : public Preferences {
  public:
    bool refusesToWrite = false; // as an unwritable folder does

    [[nodiscard]] Value::Dictionary all(const std::string& domain, PreferenceHost host) override {
        return _memory[{domain, host}];
    }
    [[nodiscard]] std::optional<Value> value(const std::string& domain, PreferenceHost host,
                                             const std::string& key) override {
        const Value::Dictionary& values = _memory[{domain, host}];
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional<Value>(found->second);
    }
    void set(const std::string& domain, PreferenceHost host, const std::string& key, const Value& value) override {
        if (value.isNull())
            _memory[{domain, host}].erase(key);
        else
            _memory[{domain, host}].insert_or_assign(key, value);
    }
    void replaceAll(const std::string& domain, PreferenceHost host, const Value::Dictionary& values) override {
        _memory[{domain, host}] = values;
    }
    [[nodiscard]] bool synchronise(const std::string& domain, PreferenceHost host) override {
        if (refusesToWrite) return false;
        _stored[{domain, host}] = _memory[{domain, host}];
        return true;
    }

    // What a new start would read.
    [[nodiscard]] Value::Dictionary stored(const std::string& domain, PreferenceHost host) const {
        const auto found = _stored.find({domain, host});
        return found == _stored.end() ? Value::Dictionary{} : found->second;
    }
    // Forgets what was not synchronised, as a new start does.
    void restart() { _memory = _stored; }

  private:
    using Store = std::map<std::pair<std::string, PreferenceHost>, Value::Dictionary>;
    Store _memory;
    Store _stored;
};

} // namespace vt
