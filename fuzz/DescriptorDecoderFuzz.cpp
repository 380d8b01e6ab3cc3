// Fuzzes the decoder of bus messages: whatever arrives, it ends with a record within the limits or with an error's
// text.
#include "platform/DescriptorDecoder.h"

#include "support/ByteDescriptors.h"

#include "base/FileUrl.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

struct Extent {
    std::size_t size = 0;
    int depth = 0;
};

void measure(const vt::EventDescriptor& descriptor, int depth, Extent& extent) {
    extent.depth = std::max(extent.depth, depth);
    extent.size += vt::descriptorlimits::bytesPerDescriptor;
    if (const auto* bytes = descriptor.bytes()) extent.size += bytes->size();
    if (const auto* list = descriptor.list())
        for (const auto& item : *list) measure(item, depth + 1, extent);
    if (const auto* record = descriptor.record())
        for (const auto& [key, value] : *record) measure(value, depth + 1, extent);
    // The getters and the printed form take whatever there is.
    if (const auto path = descriptor.getFileURL()) require(vt::pathOfFileUrl(*vt::fileUrlOfPath(*path)) == path);
    (void)descriptor.int32Value();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vt::ByteDescriptors reader({reinterpret_cast<const char*>(data), size});
    const auto record = vt::decodeDescriptors(reader);
    if (!record) {
        require(record.code() != 0 && !record.error().text.empty());
        return 0;
    }
    require(reader.open == 0);
    Extent extent;
    for (const auto& [key, value] : *record) measure(value, 1, extent);
    require(extent.depth <= vt::descriptorlimits::deepest);
    require(extent.size <= vt::descriptorlimits::largestContent);
    if (extent.size < std::size_t{64} * 1024) require(!vt::EventDescriptor(*record).description().empty());
    return 0;
}
