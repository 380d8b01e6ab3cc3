// A descriptor message made of plain bytes, for tests and fuzzers of the decoder: every byte string is some message.
// "a container goes on" is one byte, 0 for its end; a text is its length (one byte, modulo 8) and its bytes; a value is
// one byte (modulo 4: bytes, list, record, something else), and bytes are a length (one byte; 255 stands for a
// mebibyte) with one filling byte. What is missing at the end reads as 0.
#pragma once

#include "platform/DescriptorDecoder.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

class ByteDescriptors final : public DescriptorReader {
  public:
    explicit ByteDescriptors(std::string_view input) : _rest(input) {}

    bool atEnd() override { return next() == 0; }
    std::string enterEntry() override { return text(); }
    void leaveEntry() override { ++entriesLeft; }
    std::string typeCode() override { return text(); }
    Shape enterValue() override {
        const auto shape = static_cast<Shape>(next() % 4);
        open += shape == Shape::list || shape == Shape::record ? 1 : 0;
        return shape;
    }
    std::string bytes() override {
        const std::uint8_t length = next();
        const char filling = static_cast<char>(next());
        return std::string(length == 255 ? std::size_t{1} << 20U : length, filling);
    }
    void leaveValue() override { --open; }

    int open = 0; // containers entered and not left
    int entriesLeft = 0;

  private:
    std::uint8_t next() {
        if (_rest.empty()) return 0;
        const auto byte = static_cast<std::uint8_t>(_rest.front());
        _rest.remove_prefix(1);
        return byte;
    }
    std::string text() {
        const std::size_t length = next() % 8U;
        std::string text(_rest.substr(0, length));
        _rest.remove_prefix(text.size());
        return text;
    }
    std::string_view _rest;
};

} // namespace vt
