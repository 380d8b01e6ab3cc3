// Makes event descriptors of a message that a stranger wrote: checks shapes, keywords, depth and size on the way.
// The message is read through a cursor, so that any carrier (and a fuzzer) can feed it. Thread: any.
// Errors: EINVAL naming the place ("parameters.----[2]") for a wrong shape, E2BIG above the size, ELOOP beyond the
// depth.
#pragma once

#include "base/EventDescriptor.h"
#include "base/Result.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace vt {

namespace descriptorlimits {
inline constexpr std::size_t largestContent = std::size_t{16} * 1024 * 1024; // bytes of one message
inline constexpr int deepest = 64;                                           // descriptors inside each other
inline constexpr std::size_t bytesPerDescriptor = 16; // counted besides the bytes: a flood of empty ones is large too
} // namespace descriptorlimits

// A message's cursor. Containers nest: what is entered is left again, unless the reading is given up.
class DescriptorReader {
  public:
    enum class Shape : std::uint8_t { bytes, list, record, other };
    virtual ~DescriptorReader() = default;
    // Of the list or record that was entered last.
    [[nodiscard]] virtual bool atEnd() = 0;
    // Enters the record's next entry and reads its key.
    [[nodiscard]] virtual std::string enterEntry() = 0;
    virtual void leaveEntry() = 0;
    // Takes the next descriptor; its value's shape follows, and a list or record is entered.
    [[nodiscard]] virtual std::string typeCode() = 0;
    [[nodiscard]] virtual Shape enterValue() = 0;
    [[nodiscard]] virtual std::string bytes() = 0; // of a value of shape bytes
    virtual void leaveValue() = 0;                 // of a list or record
};

// The record that the cursor stands in.
[[nodiscard]] Result<EventDescriptor::Record> decodeDescriptors(DescriptorReader& reader);

} // namespace vt
