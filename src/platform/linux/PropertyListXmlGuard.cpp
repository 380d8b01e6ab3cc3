#include "platform/linux/PropertyListXmlGuard.h"

#include "base/Paths.h"
#include "platform/linux/PropertyListLimits.h"
#include "platform/linux/PropertyListScalars.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace vt::propertylist {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isScalar(std::string_view name) {
    return name == "string" || name == "key" || name == "integer" || name == "real" || name == "date" || name == "data";
}

bool isFlag(std::string_view name) {
    return name == "true" || name == "false";
}

class XmlGuard {
  public:
    explicit XmlGuard(std::string_view text) : _text(text) {}

    Result<void> run() {
        while (!_failure && !_finished) step();
        if (_failure) return refuse(*_failure + " in line " + std::to_string(line()));
        return {};
    }

  private:
    struct Open {
        std::string_view name;
        bool keyWaits = false; // in a dictionary: a key without its value yet
        bool hasValue = false; // in the outermost element: its one value is there
    };

    void fail(std::string why) {
        if (!_failure) _failure = std::move(why);
    }
    [[nodiscard]] std::size_t line() const {
        const std::string_view before = _text.substr(0, std::min(_at, _text.size()));
        return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    }
    [[nodiscard]] bool at(std::string_view wanted) const { return _text.substr(_at).starts_with(wanted); }

    void skipPast(std::string_view end, const char* what) {
        const std::size_t found = _text.find(end, _at);
        if (found == std::string_view::npos) return fail(std::string("unfinished ") + what);
        _at = found + end.size();
    }

    // From one piece of markup to the next.
    void step() {
        const std::size_t next = _text.find_first_not_of(blanks, _at);
        if (next == std::string_view::npos) return fail("no \"</plist>\"");
        _at = next;
        if (_text[_at] != '<') return fail("text where a value belongs");
        if (at("<?")) return skipPast("?>", "declaration");
        if (at("<!--")) return skipPast("-->", "comment");
        if (at("<!DOCTYPE")) return documentType();
        if (at("<!")) return fail("unknown declaration");
        if (at("</")) return closeElement();
        openElement();
    }

    void documentType() {
        const std::size_t start = _at;
        skipPast(">", "document type");
        // Entities of one's own are the road to a bomb, and no property list has any.
        if (_text.substr(start, _at - start).find('[') != std::string_view::npos) fail("a document type with entities");
    }

    void closeElement() {
        const auto name = closingName();
        if (_failure) return;
        if (_open.empty() || _open.back().name != name) return fail("\"</" + std::string(name) + ">\" out of place");
        if (_open.back().keyWaits) return fail("a key without a value");
        if (name == "plist" && !_open.back().hasValue) return fail("no value");
        _open.pop_back();
        _finished = _open.empty();
    }

    std::string_view closingName() {
        const std::size_t start = _at + 2;
        skipPast(">", "tag");
        if (_failure) return {};
        std::string_view name = _text.substr(start, _at - 1 - start);
        const std::size_t end = name.find_last_not_of(blanks);
        return end == std::string_view::npos ? std::string_view() : name.substr(0, end + 1);
    }

    void openElement() {
        const std::size_t start = _at + 1;
        skipPast(">", "tag");
        if (_failure) return;
        std::string_view inside = _text.substr(start, _at - 1 - start);
        const bool closed = inside.ends_with('/');
        if (closed) inside.remove_suffix(1);
        const std::string_view name = inside.substr(0, inside.find_first_of(blanks));
        const bool attributes = inside.find_first_not_of(blanks, name.size()) != std::string_view::npos;
        if (attributes && name != "plist") return fail("attributes of \"" + std::string(name) + "\"");
        if (name == "plist") return openList(closed);
        if (!take(name)) return;
        if (name == "dict" || name == "array") {
            if (_open.size() > deepest) return fail("nested too deeply");
            if (!closed) _open.push_back({name});
        } else if (isFlag(name)) {
            if (!closed && closingName() != name) fail("something inside \"" + std::string(name) + "\"");
        } else {
            scalar(name, closed);
        }
    }

    void openList(bool closed) {
        if (!_open.empty() || closed) return fail("\"plist\" out of place");
        _open.push_back({"plist"});
    }

    // Notes a key or a value in what holds it.
    bool take(std::string_view name) {
        const bool known = name == "dict" || name == "array" || isFlag(name) || isScalar(name);
        if (!known) return fail("unknown element \"" + std::string(name.substr(0, 40)) + "\""), false;
        if (_open.empty()) return fail("no \"<plist>\""), false;
        Open& holder = _open.back();
        if (name == "key") {
            if (holder.name != "dict" || holder.keyWaits) return fail("a key out of place"), false;
            holder.keyWaits = true;
            return true;
        }
        if (holder.name == "dict" && !holder.keyWaits) return fail("a value without a key"), false;
        if (holder.name == "plist" && holder.hasValue) return fail("a second value"), false;
        holder.keyWaits = false;
        holder.hasValue = true;
        return true;
    }

    void scalar(std::string_view name, bool closed) {
        const std::size_t start = _at;
        if (!closed) skipText(name == "string" || name == "key");
        if (_failure) return;
        const std::string_view content = _text.substr(start, _at - start);
        if (!closed && (!at("</") || closingName() != name)) return fail("unfinished \"" + std::string(name) + "\"");
        const bool good = name == "integer" ? isInteger(content)
                          : name == "real"  ? isReal(content)
                          : name == "date"  ? isDate(content)
                          : name == "data"  ? isBase64(content)
                                            : hasGoodReferences(content);
        if (!good) return fail("a bad " + std::string(name) + " \"" + std::string(content.substr(0, 40)) + "\"");
        const auto entities = static_cast<std::uint64_t>(std::count(content.begin(), content.end(), '&'));
        _entityWork += entities * content.size();
        if (_entityWork > mostEntityWork) fail("too many entities");
    }

    // To the next tag; comments and quoted sections belong to the text of strings and keys.
    void skipText(bool mixed) {
        while (!_failure) {
            const std::size_t next = _text.find('<', _at);
            if (next == std::string_view::npos) return fail("unfinished text");
            _at = next;
            if (mixed && at("<!--"))
                skipPast("-->", "comment");
            else if (mixed && at("<![CDATA["))
                skipPast("]]>", "quoted section");
            else
                return;
        }
    }

    std::string_view _text;
    std::size_t _at = 0;
    std::vector<Open> _open;
    std::uint64_t _entityWork = 0;
    bool _finished = false;
    std::optional<std::string> _failure;
};

} // namespace

Result<void> guardXml(std::string_view bytes) {
    if (bytes.find('\0') != std::string_view::npos) return refuse("a zero byte");
    if (!paths::isValidUtf8(bytes)) return refuse("text that is not UTF-8");
    return XmlGuard(bytes).run();
}

} // namespace vt::propertylist
