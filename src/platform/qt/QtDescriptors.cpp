#include "platform/qt/QtDescriptors.h"

#include "platform/qt/QtValues.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QMap>

#include <cerrno>
#include <optional>
#include <string>

namespace vt::qtdescriptors {

// One (sv); named, because a meta type needs a name.
struct WireDescriptor {
    QString typeCode;
    QDBusVariant value;
    bool operator==(const WireDescriptor&) const = default;
};
using WireList = QList<WireDescriptor>;
using WireRecord = QMap<QString, WireDescriptor>;

QDBusArgument& operator<<(QDBusArgument& argument, const WireDescriptor& descriptor) {
    argument.beginStructure();
    argument << descriptor.typeCode << descriptor.value;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, WireDescriptor& descriptor) {
    argument.beginStructure();
    argument >> descriptor.typeCode >> descriptor.value;
    argument.endStructure();
    return argument;
}

namespace {

constexpr int deepestDescriptor = 64;
constexpr std::size_t bytesPerDescriptor = 16; // counted besides the bytes, so that a flood of empty ones is large too

Error refused(int code, std::string text) {
    return Error{code, Disposition::skipItem, {}, std::move(text)};
}

class Walk {
  public:
    bool take(std::size_t bytes) {
        _used += bytes + bytesPerDescriptor;
        if (_used > qtvalues::largestContent) fail(E2BIG, "the descriptors are larger than 16 MiB");
        return ok();
    }
    void fail(int code, std::string text) {
        if (!_error) _error = refused(code, std::move(text));
    }
    [[nodiscard]] bool ok() const { return !_error; }
    [[nodiscard]] const Error& error() const { return *_error; }

  private:
    std::size_t _used = 0;
    std::optional<Error> _error;
};

QString code(FourCharCode value) {
    return qtvalues::text(value.text());
}

// `containers`: how many D-Bus containers are open around the descriptor.
WireDescriptor wire(const EventDescriptor& descriptor, int containers, Walk& walk);

WireRecord wireRecord(const EventDescriptor::Record& record, int containers, Walk& walk) {
    WireRecord result;
    for (const auto& [key, value] : record) {
        if (!walk.ok()) break;
        result.insert(code(key), wire(value, containers + 2, walk)); // array and entry
    }
    return result;
}

WireDescriptor wire(const EventDescriptor& descriptor, int containers, Walk& walk) {
    WireDescriptor result{code(descriptor.type()), {}};
    const int inside = containers + 2; // struct and variant
    if (inside + 1 > qtvalues::deepestMessage)
        walk.fail(ELOOP, "the descriptors are nested deeper than the bus carries");
    if (!walk.take(descriptor.bytes() ? descriptor.bytes()->size() : 0)) return result;
    if (const auto* bytes = descriptor.bytes()) {
        result.value.setVariant(QByteArray(bytes->data(), static_cast<qsizetype>(bytes->size())));
    } else if (const auto* list = descriptor.list()) {
        WireList items;
        for (const EventDescriptor& item : *list) {
            if (!walk.ok()) break;
            items.append(wire(item, inside + 1, walk));
        }
        result.value.setVariant(QVariant::fromValue(items));
    } else if (const auto* record = descriptor.record()) {
        result.value.setVariant(QVariant::fromValue(wireRecord(*record, inside, walk)));
    }
    return result;
}

EventDescriptor::Record readRecord(const QDBusArgument& argument, const std::string& place, int depth, Walk& walk);

EventDescriptor readDescriptor(const QDBusArgument& argument, const std::string& place, int depth, Walk& walk) {
    if (depth > deepestDescriptor) walk.fail(ELOOP, place + ": nested deeper than 64 levels");
    if (!walk.take(0)) return {};
    WireDescriptor read;
    argument >> read;
    const auto type = FourCharCode::fromText(read.typeCode.toUtf8().toStdString());
    if (!type) {
        walk.fail(EINVAL, place + ": a type code has four bytes");
        return {};
    }
    const QVariant value = read.value.variant();
    if (value.typeId() == QMetaType::QByteArray) {
        std::string bytes = value.toByteArray().toStdString();
        if (!walk.take(bytes.size())) return {};
        return EventDescriptor(*type, std::move(bytes));
    }
    const bool nested = value.metaType() == QMetaType::fromType<QDBusArgument>();
    const auto inner = nested ? value.value<QDBusArgument>() : QDBusArgument();
    const QString signature = nested ? inner.currentSignature() : QString();
    if (signature == QLatin1String("a(sv)")) {
        EventDescriptor::List items;
        inner.beginArray();
        while (!inner.atEnd() && walk.ok())
            items.push_back(
                readDescriptor(inner, place + "[" + std::to_string(items.size() + 1) + "]", depth + 1, walk));
        return EventDescriptor(std::move(items));
    }
    if (signature == QLatin1String("a{s(sv)}"))
        return EventDescriptor(*type, readRecord(inner, place, depth + 1, walk));
    walk.fail(EINVAL, place + ": the value must be of type ay, a(sv) or a{s(sv)}");
    return {};
}

EventDescriptor::Record readRecord(const QDBusArgument& argument, const std::string& place, int depth, Walk& walk) {
    EventDescriptor::Record record;
    argument.beginMap();
    while (!argument.atEnd() && walk.ok()) {
        argument.beginMapEntry();
        QString key;
        argument >> key;
        const std::string name = key.toUtf8().toStdString();
        const auto keyword = FourCharCode::fromText(name);
        if (!keyword) {
            walk.fail(EINVAL, place + ": the key \"" + name.substr(0, 64) + "\" is no four-character keyword");
            break;
        }
        record.insert_or_assign(*keyword, readDescriptor(argument, place + "." + name, depth, walk));
        if (walk.ok()) argument.endMapEntry();
    }
    return record;
}

} // namespace

void registerTypes() {
    qDBusRegisterMetaType<WireDescriptor>();
    qDBusRegisterMetaType<WireList>();
    qDBusRegisterMetaType<WireRecord>();
}

Result<QVariant> toBus(const EventDescriptor::Record& record) {
    Walk walk;
    const WireRecord result = wireRecord(record, 0, walk);
    if (!walk.ok()) return walk.error();
    return QVariant::fromValue(result);
}

Result<EventDescriptor::Record> fromBus(const QVariant& argument) {
    if (argument.metaType() != QMetaType::fromType<QDBusArgument>())
        return refused(EINVAL, "parameters: the value must be of type a{s(sv)}");
    Walk walk;
    auto record = readRecord(argument.value<QDBusArgument>(), "parameters", 1, walk);
    if (!walk.ok()) return walk.error();
    return record;
}

} // namespace vt::qtdescriptors
