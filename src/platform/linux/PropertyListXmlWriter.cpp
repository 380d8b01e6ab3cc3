#include "platform/linux/PropertyListXmlWriter.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <type_traits>

namespace vt::propertylist {
namespace {

class XmlWriter {
  public:
    std::string take() { return std::move(_out); }

    void write(const Value& value) {
        std::visit([this](const auto& held) { writeHeld(held); }, value.storage());
    }
    void raw(const char* text) { _out += text; }

  private:
    template <typename Held> void writeHeld(const Held& held) {
        if constexpr (std::is_same_v<Held, bool>)
            line(held ? "<true/>" : "<false/>");
        else if constexpr (std::is_integral_v<Held>)
            line("<integer>" + std::to_string(held) + "</integer>");
        else if constexpr (std::is_same_v<Held, double>)
            line("<real>" + realText(held) + "</real>");
        else if constexpr (std::is_same_v<Held, std::string>)
            line("<string>" + escaped(held) + "</string>");
        else if constexpr (std::is_same_v<Held, Date>)
            line("<date>" + held.iso8601() + "</date>");
        else if constexpr (std::is_same_v<Held, Value::Data>)
            line("<data>" + base64(held.bytes) + "</data>");
        else if constexpr (std::is_same_v<Held, Value::Array>)
            writeArray(held);
        else if constexpr (std::is_same_v<Held, Value::Dictionary>)
            writeDictionary(held);
    }

    void writeArray(const Value::Array& array) {
        if (array.empty()) return line("<array/>");
        line("<array>");
        ++_indent;
        for (const Value& item : array) write(item);
        --_indent;
        line("</array>");
    }

    void writeDictionary(const Value::Dictionary& dictionary) {
        if (dictionary.empty()) return line("<dict/>");
        line("<dict>");
        ++_indent;
        for (const auto& [key, item] : dictionary) {
            line("<key>" + escaped(key) + "</key>");
            write(item);
        }
        --_indent;
        line("</dict>");
    }

    void line(const std::string& text) {
        _out.append(_indent, '\t');
        _out += text;
        _out += '\n';
    }

    static std::string escaped(const std::string& text) {
        std::string result;
        result.reserve(text.size());
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            if (c == '&')
                result += "&amp;";
            else if (c == '<')
                result += "&lt;";
            else if (c == '>')
                result += "&gt;";
            else if (byte < 0x20 && c != '\t' && c != '\n') // a file's name may hold any of them
                result += "&#" + std::to_string(byte) + ";";
            else
                result += c;
        }
        return result;
    }

    static std::string realText(double real) {
        if (std::isnan(real)) return "nan";
        if (std::isinf(real)) return real < 0 ? "-infinity" : "+infinity";
        char text[64];
        const auto end = std::to_chars(text, text + sizeof text, real);
        return {text, end.ptr};
    }

    static std::string base64(const std::string& bytes) {
        static constexpr const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string text;
        text.reserve((bytes.size() + 2) / 3 * 4);
        for (std::size_t i = 0; i < bytes.size(); i += 3) {
            unsigned group = 0;
            for (std::size_t j = i; j < i + 3; ++j)
                group = (group << 8U) | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0U);
            text += digits[(group >> 18U) & 63U];
            text += digits[(group >> 12U) & 63U];
            text += i + 1 < bytes.size() ? digits[(group >> 6U) & 63U] : '=';
            text += i + 2 < bytes.size() ? digits[group & 63U] : '=';
        }
        return text;
    }

    std::string _out;
    std::size_t _indent = 0;
};

} // namespace

std::string writeXml(const Value& value) {
    XmlWriter writer;
    writer.raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
               "<plist version=\"1.0\">\n");
    writer.write(value);
    writer.raw("</plist>\n");
    return writer.take();
}

} // namespace vt::propertylist
