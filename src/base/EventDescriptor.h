// A scripting event's value: a four-character type code with raw bytes, a list, or a record keyed by four-character
// keywords. Makers and getters answer null instead of raising. Owns: everything below it. Units: integers are 32 bits,
// big-endian; texts are UTF-8.
#pragma once

#include "base/FourCharCode.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vt {

namespace descriptortype {
using namespace literals;
inline constexpr FourCharCode typeTrue = "true"_fcc;
inline constexpr FourCharCode typeFalse = "fals"_fcc;
inline constexpr FourCharCode typeSInt32 = "long"_fcc;
inline constexpr FourCharCode typeAEList = "list"_fcc;
inline constexpr FourCharCode typeAERecord = "reco"_fcc;
inline constexpr FourCharCode typeNull = "null"_fcc;
inline constexpr FourCharCode typeFileURL = "furl"_fcc;
inline constexpr FourCharCode typeUtf8Text = "utf8"_fcc;
inline constexpr FourCharCode typeType = "type"_fcc;
inline constexpr FourCharCode typeEnumerated = "enum"_fcc;
inline constexpr FourCharCode typeObjectSpecifier = "obj "_fcc;
inline constexpr FourCharCode typeProcessSerialNumber = "psn "_fcc;
inline constexpr FourCharCode typeStatus = "STAT"_fcc;
} // namespace descriptortype

class EventDescriptor {
  public:
    using List = std::vector<EventDescriptor>;
    using Record = std::map<FourCharCode, EventDescriptor>;

    EventDescriptor() : _type(descriptortype::typeNull) {}
    EventDescriptor(FourCharCode type, std::string bytes) : _type(type), _content(std::move(bytes)) {}
    explicit EventDescriptor(List items) : EventDescriptor(descriptortype::typeAEList, std::move(items)) {}
    // A list under another type code than its own: what a sender made up keeps the type that it claims.
    EventDescriptor(FourCharCode type, List items) : _type(type), _content(std::move(items)) {}
    explicit EventDescriptor(Record fields) : EventDescriptor(descriptortype::typeAERecord, std::move(fields)) {}
    EventDescriptor(FourCharCode type, Record fields) : _type(type), _content(std::move(fields)) {}

    [[nodiscard]] static EventDescriptor descriptorWithBOOL(bool value);
    [[nodiscard]] static EventDescriptor descriptorWithInt32(std::int32_t value);
    [[nodiscard]] static EventDescriptor descriptorWithText(std::string_view utf8);
    // `serialNumber` is the eight bytes of a process serial number; null for any other length.
    [[nodiscard]] static std::optional<EventDescriptor> descriptorWithPSN(std::string_view serialNumber);
    // A file URL of an absolute path, percent-escaped; null for any other path.
    [[nodiscard]] static std::optional<EventDescriptor> descriptorWithPathAsCFURL(std::string_view path);
    // An object specifier that names the property `property` of `container`.
    [[nodiscard]] static std::optional<EventDescriptor> propertyDescriptorOfType(FourCharCode property,
                                                                                 const EventDescriptor& container);

    [[nodiscard]] FourCharCode type() const { return _type; }
    [[nodiscard]] bool isNull() const { return _type == descriptortype::typeNull; }
    // Null for a list or record, and the other way round.
    [[nodiscard]] const std::string* bytes() const { return std::get_if<std::string>(&_content); }
    [[nodiscard]] const List* list() const { return std::get_if<List>(&_content); }
    [[nodiscard]] const Record* record() const { return std::get_if<Record>(&_content); }

    // The path of a file URL; only for a descriptor of type "furl" that holds one (host part empty or localhost).
    [[nodiscard]] std::optional<std::string> getFileURL() const;
    [[nodiscard]] std::optional<std::int32_t> int32Value() const; // of type "long" with four bytes
    // The printed form: 'furl'("file:///a"), [ a, b ] for a list, { key:value, … } for a record.
    [[nodiscard]] std::string description() const;

    bool operator==(const EventDescriptor&) const = default;

  private:
    FourCharCode _type;
    std::variant<std::string, List, Record> _content;
};

// The printed form of a whole event: 'vnTR'\'QURY'{ '----':'furl'("file:///a") }.
[[nodiscard]] std::string descriptionOfEvent(FourCharCode eventClass, FourCharCode eventId,
                                             const EventDescriptor::Record& parameters);

} // namespace vt
