#include "platform/linux/PropertyListBinaryGuard.h"

#include "platform/linux/PropertyListLimits.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vt::propertylist {
namespace {

constexpr std::size_t headerBytes = 8;
constexpr std::size_t trailerBytes = 32;

// The layout: header, objects, a table of their offsets, and a trailer of offset size, reference size, number of
// objects, root object and the table's own offset. All numbers are big-endian.
class BinaryGuard {
  public:
    explicit BinaryGuard(std::string_view bytes) : _bytes(bytes) {}

    Result<void> run() {
        if (!readTrailer()) return refuse("a binary trailer that does not fit");
        if (const char* failure = walk()) return refuse(failure);
        return {};
    }

  private:
    struct Object {
        std::uint64_t values = 0; // with everything below it, as often as it is named; 0: not known yet
        std::uint64_t bytes = 0;
        std::uint32_t depth = 0;
        bool onTheWay = false;
    };
    struct Children {
        std::size_t at = 0; // offset of the references
        std::uint64_t count = 0;
    };
    struct Step {
        std::uint64_t object;
        Children children;
        std::uint64_t next = 0;
    };

    [[nodiscard]] std::uint64_t number(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) value = (value << 8U) | static_cast<unsigned char>(_bytes[at + i]);
        return value;
    }

    bool readTrailer() {
        if (_bytes.size() < headerBytes + trailerBytes) return false;
        const std::size_t trailer = _bytes.size() - trailerBytes;
        _offsetSize = number(trailer + 6, 1);
        _referenceSize = number(trailer + 7, 1);
        const std::uint64_t count = number(trailer + 8, 8);
        _root = number(trailer + 16, 8);
        const std::uint64_t table = number(trailer + 24, 8);
        if (_offsetSize < 1 || _offsetSize > 8 || _referenceSize < 1 || _referenceSize > 8) return false;
        if (table < headerBytes || table > trailer) return false;
        if (count == 0 || count > (trailer - table) / _offsetSize || count > mostValues || _root >= count) return false;
        _table = table;
        _objects.resize(count);
        return true;
    }

    // Where the object's content begins and how many units it has; null when it does not fit.
    [[nodiscard]] std::optional<Children> content(std::uint64_t object) const {
        const std::uint64_t offset = number(_table + object * _offsetSize, _offsetSize);
        if (offset < headerBytes || offset >= _table) return std::nullopt;
        Children result{offset + 1, number(offset, 1) & 0x0fU};
        if (result.count != 0x0f || kind(object) <= 0x3) return result;
        if (offset + 1 >= _table) return std::nullopt;
        const std::uint64_t marker = number(offset + 1, 1);
        const std::size_t size = std::size_t{1} << (marker & 0x0fU);
        if ((marker >> 4U) != 1 || size > 8 || offset + 2 + size > _table) return std::nullopt;
        return Children{offset + 2 + size, number(offset + 2, size)};
    }

    [[nodiscard]] std::uint64_t kind(std::uint64_t object) const {
        const std::uint64_t offset = number(_table + object * _offsetSize, _offsetSize);
        return offset < _table ? number(offset, 1) >> 4U : 0xf;
    }

    // Whether a text holds a zero: the library ends the process over a key with one.
    [[nodiscard]] bool holdsZero(std::uint64_t kind, std::size_t at, std::uint64_t bytes) const {
        if (kind == 0x5) return _bytes.substr(at, bytes).find('\0') != std::string_view::npos;
        if (kind != 0x6) return false;
        for (std::uint64_t i = 0; i + 1 < bytes; i += 2)
            if (_bytes[at + i] == '\0' && _bytes[at + i + 1] == '\0') return true;
        return false;
    }

    // Fills in a leaf, or answers the references of a container. A failure is a text.
    const char* enter(std::uint64_t object, Children& children) {
        const auto found = content(object);
        if (!found) return "an object that does not fit";
        const std::uint64_t room = _table - std::min<std::uint64_t>(found->at, _table);
        std::uint64_t bytes = 0;
        children = {found->at, 0};
        switch (kind(object)) {
        case 0x0:
            break; // true, false
        case 0x1:
        case 0x2:
        case 0x3:
            bytes = found->count > 4 ? room + 1 : 1ULL << found->count;
            break;
        case 0x4:
        case 0x5:
            bytes = found->count;
            break;
        case 0x6:
            bytes = found->count > room ? room + 1 : found->count * 2;
            break;
        case 0x8:
            bytes = found->count + 1;
            break;
        case 0xa:
        case 0xd:
            children.count = kind(object) == 0xd ? found->count * 2 : found->count;
            if (found->count > room || children.count > room / _referenceSize) return "an object that does not fit";
            break;
        default:
            return "an object of an unknown kind";
        }
        if (bytes > room) return "an object that does not fit";
        if (holdsZero(kind(object), found->at, bytes)) return "a text with a zero byte";
        _objects[object].values = 1;
        _objects[object].bytes = bytes;
        _objects[object].depth = 1;
        return nullptr;
    }

    // Depth first and without recursion; what an object unfolds to is summed when all below it is known.
    const char* walk() {
        std::vector<Step> way;
        if (const char* failure = push(way, _root)) return failure;
        while (!way.empty()) {
            Step& step = way.back();
            if (step.next == step.children.count) {
                _objects[step.object].onTheWay = false;
                way.pop_back();
                if (!way.empty())
                    if (const char* failure = add(way.back())) return failure;
                continue;
            }
            const std::uint64_t child = number(step.children.at + step.next * _referenceSize, _referenceSize);
            if (child >= _objects.size()) return "a reference to nothing";
            if (_objects[child].onTheWay) return "a value that holds itself";
            const char* failure = _objects[child].values > 0 ? add(step) : push(way, child);
            if (failure != nullptr) return failure;
        }
        return nullptr;
    }

    const char* push(std::vector<Step>& way, std::uint64_t object) {
        if (way.size() > deepest) return "nested too deeply";
        Children children;
        if (const char* failure = enter(object, children)) return failure;
        _objects[object].onTheWay = true;
        way.push_back({object, children});
        return nullptr;
    }

    // Adds the child that `step` stands at, and goes on to the next one.
    const char* add(Step& step) {
        const Object& child = _objects[number(step.children.at + step.next * _referenceSize, _referenceSize)];
        Object& holder = _objects[step.object];
        holder.values += child.values;
        holder.bytes += child.bytes;
        holder.depth = std::max(holder.depth, child.depth + 1);
        ++step.next;
        if (holder.depth > deepest + 1) return "nested too deeply";
        if (holder.values > mostValues || holder.bytes > mostExpandedBytes) return "a value that unfolds too far";
        return nullptr;
    }

    std::string_view _bytes;
    std::size_t _offsetSize = 0;
    std::size_t _referenceSize = 0;
    std::uint64_t _root = 0;
    std::size_t _table = 0;
    std::vector<Object> _objects;
};

} // namespace

Result<void> guardBinary(std::string_view bytes) {
    return BinaryGuard(bytes).run();
}

} // namespace vt::propertylist
