// Where a path leads, without asking what may hang. Thread: any. Units: clean absolute paths, raw bytes.
#pragma once

#include <functional>
#include <string>

namespace vt {

// `path` with every link on the way resolved, the last component's too. Nothing at or below a place that `mayHang` is
// looked at: what lies behind one stands as it is. The same for what does not exist.
[[nodiscard]] std::string placeBehindLinks(const std::string& path,
                                           const std::function<bool(const std::string& place)>& mayHang);

} // namespace vt
