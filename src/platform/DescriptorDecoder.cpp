#include "platform/DescriptorDecoder.h"

#include "base/Paths.h"

#include <cerrno>
#include <optional>
#include <utility>

namespace vt {

namespace {

constexpr std::size_t longestKeyShown = 64; // bytes

class Decoder {
  public:
    explicit Decoder(DescriptorReader& reader) : _reader(reader) {}

    EventDescriptor::Record record(const std::string& place, int depth) {
        EventDescriptor::Record record;
        while (ok() && !_reader.atEnd()) {
            const std::string key = _reader.enterEntry();
            const auto keyword = FourCharCode::fromText(key);
            if (!keyword) {
                fail(EINVAL, place + ": the key \"" + paths::displayText(key.substr(0, longestKeyShown)) +
                                 "\" is no four-character keyword");
                break;
            }
            record.insert_or_assign(*keyword, descriptor(place + "." + paths::displayText(key), depth));
            if (ok()) _reader.leaveEntry();
        }
        return record;
    }

    [[nodiscard]] bool ok() const { return !_error; }
    [[nodiscard]] const Error& error() const { return *_error; }

  private:
    EventDescriptor descriptor(const std::string& place, int depth) {
        if (depth > descriptorlimits::deepest) fail(ELOOP, place + ": nested deeper than 64 levels");
        if (!take(0)) return {};
        const auto type = FourCharCode::fromText(_reader.typeCode());
        if (!type) {
            fail(EINVAL, place + ": a type code has four bytes");
            return {};
        }
        switch (_reader.enterValue()) {
        case DescriptorReader::Shape::bytes: {
            std::string bytes = _reader.bytes();
            if (!take(bytes.size())) return {};
            return {*type, std::move(bytes)};
        }
        case DescriptorReader::Shape::list: {
            EventDescriptor result(*type, list(place, depth + 1));
            if (ok()) _reader.leaveValue();
            return result;
        }
        case DescriptorReader::Shape::record: {
            EventDescriptor result(*type, record(place, depth + 1));
            if (ok()) _reader.leaveValue();
            return result;
        }
        case DescriptorReader::Shape::other:
            break;
        }
        fail(EINVAL, place + ": the value must be of type ay, a(sv) or a{s(sv)}");
        return {};
    }

    EventDescriptor::List list(const std::string& place, int depth) {
        EventDescriptor::List items;
        while (ok() && !_reader.atEnd())
            items.push_back(descriptor(place + "[" + std::to_string(items.size() + 1) + "]", depth));
        return items;
    }

    bool take(std::size_t bytes) {
        _used += bytes + descriptorlimits::bytesPerDescriptor;
        if (_used > descriptorlimits::largestContent) fail(E2BIG, "the descriptors are larger than 16 MiB");
        return ok();
    }

    void fail(int code, std::string text) {
        if (!_error) _error = Error{code, Disposition::skipItem, {}, std::move(text)};
    }

    DescriptorReader& _reader;
    std::size_t _used = 0;
    std::optional<Error> _error;
};

} // namespace

Result<EventDescriptor::Record> decodeDescriptors(DescriptorReader& reader) {
    Decoder decoder(reader);
    auto record = decoder.record("parameters", 1);
    if (!decoder.ok()) return decoder.error();
    return record;
}

} // namespace vt
