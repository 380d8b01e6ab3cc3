#include "base/EventDescriptor.h"

#include "base/FileUrl.h"

namespace vt {

using namespace literals;

EventDescriptor EventDescriptor::descriptorWithBOOL(bool value) {
    return {value ? descriptortype::typeTrue : descriptortype::typeFalse, std::string()};
}

EventDescriptor EventDescriptor::descriptorWithInt32(std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>((bits >> shift) & 0xFFU));
    return {descriptortype::typeSInt32, std::move(bytes)};
}

EventDescriptor EventDescriptor::descriptorWithText(std::string_view utf8) {
    return {descriptortype::typeUtf8Text, std::string(utf8)};
}

std::optional<EventDescriptor> EventDescriptor::descriptorWithPSN(std::string_view serialNumber) {
    if (serialNumber.size() != 8) return std::nullopt;
    return EventDescriptor(descriptortype::typeProcessSerialNumber, std::string(serialNumber));
}

std::optional<EventDescriptor> EventDescriptor::descriptorWithPathAsCFURL(std::string_view path) {
    auto url = fileUrlOfPath(path);
    if (!url) return std::nullopt;
    return EventDescriptor(descriptortype::typeFileURL, std::move(*url));
}

std::optional<EventDescriptor> EventDescriptor::propertyDescriptorOfType(FourCharCode property,
                                                                         const EventDescriptor& container) {
    Record fields;
    fields.emplace("want"_fcc, EventDescriptor(descriptortype::typeType, "prop"));
    fields.emplace("form"_fcc, EventDescriptor(descriptortype::typeEnumerated, "prop"));
    fields.emplace("seld"_fcc, EventDescriptor(descriptortype::typeType, property.text()));
    fields.emplace("from"_fcc, container);
    return EventDescriptor(descriptortype::typeObjectSpecifier, std::move(fields));
}

std::optional<std::string> EventDescriptor::getFileURL() const {
    if (_type != descriptortype::typeFileURL || bytes() == nullptr) return std::nullopt;
    return pathOfFileUrl(*bytes());
}

std::optional<std::int32_t> EventDescriptor::int32Value() const {
    if (_type != descriptortype::typeSInt32 || bytes() == nullptr || bytes()->size() != 4) return std::nullopt;
    std::uint32_t bits = 0;
    for (const char byte : *bytes()) bits = (bits << 8U) | static_cast<unsigned char>(byte);
    return static_cast<std::int32_t>(bits);
}

namespace {

bool isPrintable(const std::string& bytes) {
    for (const char byte : bytes) {
        if (static_cast<unsigned char>(byte) < 0x20 || static_cast<unsigned char>(byte) > 0x7E) return false;
    }
    return true;
}

std::string hexText(const std::string& bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "$";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text.push_back(digits[value >> 4U]);
        text.push_back(digits[value & 0x0FU]);
    }
    return text + "$";
}

std::string leafText(const EventDescriptor& leaf, const std::string& bytes) {
    if (const auto number = leaf.int32Value()) return std::to_string(*number);
    const std::string type = "'" + leaf.type().text() + "'";
    if (bytes.empty()) return type + "()";
    return type + "(" + (isPrintable(bytes) ? "\"" + bytes + "\"" : hexText(bytes)) + ")";
}

} // namespace

std::string EventDescriptor::description() const {
    if (const std::string* leaf = bytes()) return leafText(*this, *leaf);
    if (const List* items = list()) {
        std::string text = _type == descriptortype::typeAEList ? "[" : "'" + _type.text() + "'[";
        bool first = true;
        for (const EventDescriptor& item : *items) {
            text += (first ? " " : ", ") + item.description();
            first = false;
        }
        return text + " ]";
    }
    std::string text = _type == descriptortype::typeAERecord ? "{" : "'" + _type.text() + "'{";
    bool first = true;
    for (const auto& [key, value] : *record()) {
        text += (first ? " '" : ", '") + key.text() + "':" + value.description();
        first = false;
    }
    return text + " }";
}

std::string descriptionOfEvent(FourCharCode eventClass, FourCharCode eventId,
                               const EventDescriptor::Record& parameters) {
    return "'" + eventClass.text() + "'\\'" + eventId.text() + "'" + EventDescriptor(parameters).description();
}

} // namespace vt
