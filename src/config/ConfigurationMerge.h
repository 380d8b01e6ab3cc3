// Brings what one instance changed together with what others wrote meanwhile. Thread: any; pure.
#pragma once

#include "base/Value.h"

namespace vt {

// `base` is what the instance read, `mine` what it made of it, `theirs` what the file holds now. Every key and entry
// that the instance has not changed comes from `theirs`, absent ones included; the rest comes from `mine`, and what it
// removed stays removed. Dictionaries merge key by key, the list of users place by place, other arrays as a whole.
[[nodiscard]] Value::Dictionary mergeConfiguration(const Value::Dictionary& base, const Value::Dictionary& mine,
                                                   const Value::Dictionary& theirs);

} // namespace vt
