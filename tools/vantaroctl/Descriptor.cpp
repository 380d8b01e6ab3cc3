#include "vantaroctl/Descriptor.h"

#include "vantaroctl/Failure.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace ctl {

namespace {

QVariant fromWire(const QVariant& wire) {
    if (wire.userType() != qMetaTypeId<QDBusArgument>()) return wire;
    const auto argument = wire.value<QDBusArgument>();
    if (argument.currentType() == QDBusArgument::ArrayType)
        return QVariant::fromValue(qdbus_cast<QList<Descriptor>>(argument));
    if (argument.currentType() == QDBusArgument::MapType) return QVariant::fromValue(qdbus_cast<Record>(argument));
    return wire;
}

} // namespace

void registerDescriptorTypes() {
    qDBusRegisterMetaType<Descriptor>();
    qDBusRegisterMetaType<QList<Descriptor>>();
    qDBusRegisterMetaType<Record>();
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

Descriptor booleanDescriptor(bool value) {
    return {value ? "true" : "fals", QByteArray()};
}

Descriptor integerDescriptor(qint32 value) {
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return {"long", bytes};
}

Descriptor listDescriptor(const QList<Descriptor>& items) {
    return {"list", QVariant::fromValue(items)};
}

QByteArray fileUrl(const QByteArray& path) {
    return "file://" + path.toPercentEncoding("/");
}

Descriptor fileDescriptor(const QByteArray& path) {
    return {"furl", fileUrl(path)};
}

std::optional<qint32> integerOf(const Descriptor& descriptor) {
    const QByteArray bytes = descriptor.bytes();
    if (descriptor.type != "long" || bytes.size() != 4) return std::nullopt;
    return qFromBigEndian<qint32>(bytes.constData());
}

QByteArray pathOf(const Descriptor& descriptor) {
    const QByteArray url = descriptor.bytes();
    if (descriptor.type != "furl" || !url.startsWith("file://")) return {};
    return QByteArray::fromPercentEncoding(url.mid(url.indexOf('/', 7)));
}

Descriptor parseDescriptor(const QByteArray& text) {
    const qsizetype colon = text.indexOf(':');
    const QByteArray type = colon < 0 ? text : text.left(colon);
    const QByteArray value = colon < 0 ? QByteArray() : text.mid(colon + 1);
    if (type.size() != 4)
        throw Failure{usageError, "a descriptor is written TYPE:VALUE, with a type of four characters: " + text};
    if (type == "furl") return {"furl", value.startsWith('/') ? fileUrl(value) : value};
    if (type == "long") {
        bool ok = false;
        const qint32 number = value.toInt(&ok);
        if (!ok) throw Failure{usageError, "not a 32-bit integer: " + value};
        return integerDescriptor(number);
    }
    if (type == "utf8") return {"utf8", value};
    if (type == "list") {
        QList<Descriptor> items;
        for (const QByteArray& item : value.split(',')) {
            if (item.isEmpty()) continue;
            const bool isTyped = item.indexOf(':') == 4 && !item.startsWith("file:");
            items.append(parseDescriptor(isTyped ? item : "furl:" + item));
        }
        return listDescriptor(items);
    }
    const QByteArray bytes = QByteArray::fromHex(value);
    if (bytes.toHex() != value.toLower())
        throw Failure{usageError, "bytes are written as pairs of hexadecimal digits: " + value};
    return {QString::fromUtf8(type), bytes};
}

QString describe(const Descriptor& descriptor) {
    if (descriptor.value.canConvert<QList<Descriptor>>()) {
        QStringList items;
        for (const Descriptor& item : descriptor.list()) items.append(describe(item));
        return descriptor.type + ":" + items.join(",");
    }
    if (descriptor.value.canConvert<Record>()) {
        QStringList fields;
        const auto record = descriptor.value.value<Record>();
        for (auto field = record.cbegin(); field != record.cend(); ++field)
            fields.append(field.key() + "=" + describe(field.value()));
        return descriptor.type + ":{" + fields.join(",") + "}";
    }
    if (const auto number = integerOf(descriptor)) return "long:" + QString::number(*number);
    const QByteArray bytes = descriptor.bytes();
    if (bytes.isEmpty()) return descriptor.type + ":";
    if (descriptor.type == "furl" || descriptor.type == "utf8") return descriptor.type + ":" + QString::fromUtf8(bytes);
    return descriptor.type + ":" + QString::fromLatin1(bytes.toHex());
}

} // namespace ctl

QDBusArgument& operator<<(QDBusArgument& argument, const ctl::Descriptor& descriptor) {
    argument.beginStructure();
    argument << descriptor.type << QDBusVariant(descriptor.value);
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ctl::Descriptor& descriptor) {
    QDBusVariant wire;
    argument.beginStructure();
    argument >> descriptor.type >> wire;
    argument.endStructure();
    descriptor.value = ctl::fromWire(wire.variant());
    return argument;
}
