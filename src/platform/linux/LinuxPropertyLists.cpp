#include "platform/linux/LinuxPropertyLists.h"

#include "platform/linux/PropertyListBinaryGuard.h"
#include "platform/linux/PropertyListLimits.h"
#include "platform/linux/PropertyListNodes.h"
#include "platform/linux/PropertyListXmlGuard.h"
#include "platform/linux/PropertyListXmlWriter.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>

namespace vt {
namespace {

using namespace propertylist;

// The library reads reals with the thread's decimal point; theirs is always ".".
class PlainNumbers {
  public:
    PlainNumbers() : _plain(newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (_plain != nullptr) _previous = uselocale(_plain);
    }
    ~PlainNumbers() {
        if (_plain == nullptr) return;
        uselocale(_previous);
        freelocale(_plain);
    }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

  private:
    locale_t _plain;
    locale_t _previous = nullptr;
};

NodePtr parsed(std::string_view bytes, bool xml) {
    const PlainNumbers numbers;
    plist_t node = nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    if (xml)
        plist_from_xml(bytes.data(), length, &node);
    else
        plist_from_bin(bytes.data(), length, &node);
    return NodePtr(node);
}

} // namespace

Result<Value> LinuxPropertyLists::parse(std::string_view bytes) {
    if (bytes.size() > mostBytes) return refuse("longer than 64 MiB");
    if (bytes.starts_with("\xef\xbb\xbf")) bytes.remove_prefix(3);
    const bool xml = !bytes.starts_with("bplist0");
    if (auto guarded = xml ? guardXml(bytes) : guardBinary(bytes); !guarded) return guarded.error();
    const NodePtr root = parsed(bytes, xml);
    if (!root) return refuse("malformed");
    return valueOf(root.get(), xml);
}

Result<std::string> LinuxPropertyLists::xml(const Value& value) {
    if (auto checked = checkWritable(value, false); !checked) return checked.error();
    std::string text = writeXml(value);
    // What could not be read back is not written.
    if (text.size() > mostBytes) return refuse("longer than 64 MiB");
    return text;
}

Result<std::string> LinuxPropertyLists::binary(const Value& value) {
    if (auto checked = checkWritable(value, true); !checked) return checked.error();
    const NodePtr root = nodeOf(value);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    if (bytes == nullptr) return refuse("the library cannot write it");
    std::string result(bytes, length);
    std::free(bytes);
    if (result.size() > mostBytes) return refuse("longer than 64 MiB");
    return result;
}

} // namespace vt
