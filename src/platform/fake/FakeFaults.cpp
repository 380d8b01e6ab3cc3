#include "platform/fake/FakeFaults.h"

#include "base/Paths.h"

namespace vt {

void FakeFaults::fail(const std::string& operation, const std::string& path, int code, int nth) {
    _rules.push_back({operation, path, code, nth, 0, {}});
}

void FakeFaults::before(const std::string& operation, const std::string& path,
                        std::function<void(const std::string&)> hook) {
    _rules.push_back({operation, path, 0, 0, 0, std::move(hook)});
}

void FakeFaults::clear() {
    _rules.clear();
}

int FakeFaults::begin(const std::string& operation, const std::string& path, const std::string& second) {
    _log.push_back(operation + " " + path + (second.empty() ? "" : " -> " + second));
    int code = 0;
    // A hook may add rules, so the list is walked by index and the hook is copied first.
    for (std::size_t i = 0; i < _rules.size(); ++i) {
        Rule& rule = _rules[i];
        if (!rule.operation.empty() && rule.operation != operation) continue;
        const bool here = rule.path.empty() || paths::isAtOrBelow(path, rule.path) ||
                          (!second.empty() && paths::isAtOrBelow(second, rule.path));
        if (!here) continue;
        ++rule.seen;
        if (rule.code != 0 && code == 0 && (rule.nth == 0 || rule.nth == rule.seen)) code = rule.code;
        if (const auto hook = rule.hook) hook(path);
    }
    return code;
}

} // namespace vt
