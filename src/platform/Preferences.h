// Preference domains of the present user: any-host and by-host stores of property-list values. Thread: main.
// Errors: reading a broken or missing store gives an empty dictionary and one line in the system log.
#pragma once

#include "base/Value.h"

#include <optional>
#include <string>

namespace vt {

enum class PreferenceHost { any, current };

class Preferences {
  public:
    virtual ~Preferences() = default;
    [[nodiscard]] virtual Value::Dictionary all(const std::string& domain, PreferenceHost host) = 0;
    [[nodiscard]] virtual std::optional<Value> value(const std::string& domain, PreferenceHost host,
                                                     const std::string& key) = 0;
    // In memory until synchronise(); a null value removes the key.
    virtual void set(const std::string& domain, PreferenceHost host, const std::string& key, const Value& value) = 0;
    virtual void replaceAll(const std::string& domain, PreferenceHost host, const Value::Dictionary& values) = 0;
    // Writes atomically; false when that failed.
    [[nodiscard]] virtual bool synchronise(const std::string& domain, PreferenceHost host) = 0;
};

} // namespace vt
