// A scripting descriptor as the bus carries it: (sv), a type code and bytes, a list or a record.
#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QMap>
#include <QString>
#include <QVariant>

#include <optional>

namespace ctl {

struct Descriptor {
    QString type;
    QVariant value; // QByteArray, QList<Descriptor> or QMap<QString, Descriptor>

    [[nodiscard]] QByteArray bytes() const { return value.toByteArray(); }
    [[nodiscard]] QList<Descriptor> list() const { return value.value<QList<Descriptor>>(); }
};

using Record = QMap<QString, Descriptor>;

void registerDescriptorTypes();

[[nodiscard]] Descriptor booleanDescriptor(bool value);
[[nodiscard]] Descriptor integerDescriptor(qint32 value);
[[nodiscard]] Descriptor fileDescriptor(const QByteArray& path); // absolute
[[nodiscard]] Descriptor listDescriptor(const QList<Descriptor>& items);
[[nodiscard]] std::optional<qint32> integerOf(const Descriptor& descriptor);
// The path of a file URL; empty for anything else.
[[nodiscard]] QByteArray pathOf(const Descriptor& descriptor);
[[nodiscard]] QByteArray fileUrl(const QByteArray& path);

// "TYPE:VALUE" as the command line writes it, and back. A file path is taken for its URL; other bytes are hexadecimal.
[[nodiscard]] Descriptor parseDescriptor(const QByteArray& text);
[[nodiscard]] QString describe(const Descriptor& descriptor);

} // namespace ctl

Q_DECLARE_METATYPE(ctl::Descriptor)

QDBusArgument& operator<<(QDBusArgument& argument, const ctl::Descriptor& descriptor);
const QDBusArgument& operator>>(const QDBusArgument& argument, ctl::Descriptor& descriptor);
