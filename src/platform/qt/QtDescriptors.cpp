#include "platform/qt/QtDescriptors.h"

#include "platform/DescriptorDecoder.h"
#include "platform/qt/QtContentBudget.h"
#include "platform/qt/QtValues.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QMap>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

using qtvalues::refused;

struct Budget : qtvalues::ContentBudget {
    Budget() : ContentBudget(descriptorlimits::bytesPerDescriptor, "the descriptors are larger than 16 MiB") {}
};

QString code(FourCharCode value) {
    return qtvalues::text(value.text());
}

// `containers`: how many D-Bus containers are open around the descriptor.
WireDescriptor wire(const EventDescriptor& descriptor, int containers, Budget& budget);

WireRecord wireRecord(const EventDescriptor::Record& record, int containers, Budget& budget) {
    WireRecord result;
    for (const auto& [key, value] : record) {
        if (!budget.ok()) break;
        result.insert(code(key), wire(value, containers + 2, budget)); // array and entry
    }
    return result;
}

WireDescriptor wire(const EventDescriptor& descriptor, int containers, Budget& budget) {
    WireDescriptor result{code(descriptor.type()), {}};
    const int inside = containers + 2; // struct and variant
    constexpr const char* tooDeep = "the descriptors are nested deeper than the bus carries";
    if (!budget.enter(inside + 1, qtvalues::deepestMessage, tooDeep)) return result;
    if (!budget.take(descriptor.bytes() ? descriptor.bytes()->size() : 0)) return result;
    if (const auto* bytes = descriptor.bytes()) {
        result.value.setVariant(QByteArray(bytes->data(), static_cast<qsizetype>(bytes->size())));
    } else if (const auto* list = descriptor.list()) {
        WireList items;
        for (const EventDescriptor& item : *list) {
            if (!budget.ok()) break;
            items.append(wire(item, inside + 1, budget));
        }
        result.value.setVariant(QVariant::fromValue(items));
    } else if (const auto* record = descriptor.record()) {
        result.value.setVariant(QVariant::fromValue(wireRecord(*record, inside, budget)));
    }
    return result;
}

// Reads a message with QtDBus: a value that is no list or record comes whole, the others as a cursor of their own. What
// was begun is always ended, also when the reading is given up: QtDBus keeps the message for as long as it is not, and
// a connection with too many messages kept reads no more.
class MessageReader final : public DescriptorReader {
  public:
    explicit MessageReader(QDBusArgument record) { open(std::move(record), true); }
    MessageReader(const MessageReader&) = delete;
    MessageReader& operator=(const MessageReader&) = delete;
    ~MessageReader() override {
        while (!_open.empty()) leaveValue();
    }

    bool atEnd() override { return here().atEnd(); }
    std::string enterEntry() override {
        here().beginMapEntry();
        _open.back().inEntry = true;
        QString key;
        here() >> key;
        return key.toUtf8().toStdString();
    }
    void leaveEntry() override {
        here().endMapEntry();
        _open.back().inEntry = false;
    }
    std::string typeCode() override {
        WireDescriptor read;
        here() >> read;
        _value = read.value.variant();
        return read.typeCode.toUtf8().toStdString();
    }
    Shape enterValue() override {
        if (_value.typeId() == QMetaType::QByteArray) return Shape::bytes;
        if (_value.metaType() != QMetaType::fromType<QDBusArgument>()) return Shape::other;
        auto inner = std::exchange(_value, {}).value<QDBusArgument>();
        const QString signature = inner.currentSignature();
        const bool isList = signature == QLatin1String("a(sv)");
        if (!isList && signature != QLatin1String("a{s(sv)}")) return Shape::other;
        open(std::move(inner), !isList);
        return isList ? Shape::list : Shape::record;
    }
    std::string bytes() override { return std::exchange(_value, {}).toByteArray().toStdString(); }
    void leaveValue() override {
        if (_open.back().inEntry) leaveEntry();
        if (_open.back().isRecord)
            here().endMap();
        else
            here().endArray();
        _open.pop_back();
    }

  private:
    struct Container {
        QDBusArgument argument;
        bool isRecord;
        bool inEntry = false;
    };
    void open(QDBusArgument argument, bool isRecord) {
        _open.push_back({std::move(argument), isRecord});
        if (isRecord)
            here().beginMap();
        else
            here().beginArray();
    }
    // Reading goes through the constant operators; the others write.
    [[nodiscard]] const QDBusArgument& here() const { return _open.back().argument; }
    std::vector<Container> _open;
    QVariant _value;
};

} // namespace

void registerTypes() {
    qDBusRegisterMetaType<WireDescriptor>();
    qDBusRegisterMetaType<WireList>();
    qDBusRegisterMetaType<WireRecord>();
}

Result<QVariant> toBus(const EventDescriptor::Record& record) {
    Budget budget;
    const WireRecord result = wireRecord(record, 0, budget);
    if (!budget.ok()) return budget.error();
    return QVariant::fromValue(result);
}

Result<EventDescriptor::Record> fromBus(const QVariant& argument) {
    if (argument.metaType() != QMetaType::fromType<QDBusArgument>())
        return refused(EINVAL, "parameters: the value must be of type a{s(sv)}");
    MessageReader reader(argument.value<QDBusArgument>());
    return decodeDescriptors(reader);
}

} // namespace vt::qtdescriptors
