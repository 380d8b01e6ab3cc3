// An inventory of items below one of them, as controlling code may hang it on a controller. Thread: any; a value.
#pragma once

#include <string>
#include <vector>

namespace vt {

struct ItemTree {
    std::string name; // raw bytes, one component
    std::vector<ItemTree> items;
};

} // namespace vt
