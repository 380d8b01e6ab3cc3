// Between the library's nodes and values. Thread: any. Owns: NodePtr frees the whole tree.
#pragma once

#include "base/Result.h"
#include "base/Value.h"

#include <memory>
#include <plist/plist.h>

namespace vt::propertylist {

struct NodeFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using NodePtr = std::unique_ptr<void, NodeFree>;

// `xml`: the node was read from XML, where a dictionary that looks like a keyed archive's reference is a dictionary.
[[nodiscard]] Result<Value> valueOf(plist_t node, bool xml);
// The value has passed checkWritable().
[[nodiscard]] NodePtr nodeOf(const Value& value);

// Errors: EINVAL, naming the keys that lead there, for null, text that is not UTF-8 or holds a zero byte, too deep
// nesting, and references unless `references` is true.
[[nodiscard]] Result<void> checkWritable(const Value& value, bool references);

} // namespace vt::propertylist
