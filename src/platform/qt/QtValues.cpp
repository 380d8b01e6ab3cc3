#include "platform/qt/QtValues.h"

#include "base/Paths.h"
#include "platform/qt/QtContentBudget.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

#include <algorithm>
#include <cerrno>

namespace vt::qtvalues {

namespace {

constexpr const char* tooDeep = "the content is nested too deeply";

struct Budget : ContentBudget {
    Budget() : ContentBudget(16, "the content is larger than 16 MiB") {}
};

QVariantMap mapOf(const Value::Dictionary& dictionary, int containers, Budget& budget);

QVariant listOf(const Value::Array& array, int containers, Budget& budget);

// `containers`: how many D-Bus containers are open around the value.
QVariant variantOf(const Value& value, int containers, Budget& budget) {
    budget.take(0);
    if (const auto* flag = value.asBool()) return *flag;
    if (const auto* integer = std::get_if<std::int64_t>(&value.storage())) return static_cast<qlonglong>(*integer);
    if (const auto* natural = std::get_if<std::uint64_t>(&value.storage())) return static_cast<qulonglong>(*natural);
    if (const auto* real = std::get_if<double>(&value.storage())) return *real;
    if (const auto* date = value.asDate()) return text(date->iso8601());
    if (const auto* uid = value.asUid()) return static_cast<qulonglong>(uid->index);
    if (const auto* string = value.asString()) {
        budget.take(string->size());
        return text(*string);
    }
    if (const auto* data = value.asData()) {
        budget.take(data->bytes.size());
        return QByteArray(data->bytes.data(), static_cast<qsizetype>(data->bytes.size()));
    }
    if (const auto* array = value.asArray()) return listOf(*array, containers, budget);
    if (const auto* dictionary = value.asDictionary()) return mapOf(*dictionary, containers, budget);
    return {};
}

QVariant listOf(const Value::Array& array, int containers, Budget& budget) {
    const bool strings = std::all_of(array.begin(), array.end(), [](const Value& item) { return item.asString(); });
    if (!budget.enter(containers + 2, deepestMessage, tooDeep)) return {};
    if (strings) { // an empty array too: most arrays here are of paths
        QStringList list;
        for (const Value& item : array) {
            budget.take(item.asString()->size());
            list.append(text(*item.asString()));
        }
        return list;
    }
    QVariantList list;
    for (const Value& item : array) {
        if (!budget.ok()) break;
        if (!item.isNull()) list.append(variantOf(item, containers + 2, budget));
    }
    return list;
}

QVariantMap mapOf(const Value::Dictionary& dictionary, int containers, Budget& budget) {
    QVariantMap map;
    if (!budget.enter(containers + 3, deepestMessage, tooDeep)) return map;
    for (const auto& [key, value] : dictionary) {
        if (!budget.take(key.size())) break;
        if (!value.isNull()) map.insert(text(key), variantOf(value, containers + 3, budget));
    }
    return map;
}

std::string bytesOf(const QString& string) {
    return string.toUtf8().toStdString();
}

Value valueOf(const QVariant& variant, int depth, Budget& budget);

Value valueOfArgument(const QDBusArgument& argument, int depth, Budget& budget) {
    switch (argument.currentType()) {
    case QDBusArgument::MapType: {
        Value::Dictionary dictionary;
        argument.beginMap();
        while (!argument.atEnd() && budget.ok()) {
            argument.beginMapEntry();
            const QVariant key = argument.asVariant();
            if (key.typeId() != QMetaType::QString) budget.fail(EINVAL, "a dictionary's keys must be strings");
            std::string name = bytesOf(key.toString());
            budget.take(name.size());
            Value value = valueOf(argument.asVariant(), depth + 1, budget);
            argument.endMapEntry();
            dictionary.insert_or_assign(std::move(name), std::move(value));
        }
        argument.endMap(); // always: QtDBus keeps the message until what was begun is ended
        return dictionary;
    }
    case QDBusArgument::ArrayType: {
        Value::Array array;
        argument.beginArray();
        while (!argument.atEnd() && budget.ok()) array.push_back(valueOf(argument.asVariant(), depth + 1, budget));
        argument.endArray();
        return array;
    }
    default:
        budget.fail(EINVAL, "type \"" + bytesOf(argument.currentSignature()) + "\" cannot be read");
        return {};
    }
}

Value valueOf(const QVariant& variant, int depth, Budget& budget) {
    if (!budget.enter(depth, deepestValue, tooDeep) || !budget.take(0)) return {};
    if (variant.metaType() == QMetaType::fromType<QDBusVariant>())
        return valueOf(variant.value<QDBusVariant>().variant(), depth + 1, budget);
    if (variant.metaType() == QMetaType::fromType<QDBusArgument>())
        return valueOfArgument(variant.value<QDBusArgument>(), depth, budget);
    if (variant.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return bytesOf(variant.value<QDBusObjectPath>().path());
    switch (variant.typeId()) {
    case QMetaType::Bool:
        return variant.toBool();
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return static_cast<std::int64_t>(variant.toLongLong());
    case QMetaType::ULongLong:
        return static_cast<std::uint64_t>(variant.toULongLong());
    case QMetaType::Double:
        return variant.toDouble();
    case QMetaType::QString: {
        std::string string = bytesOf(variant.toString());
        budget.take(string.size());
        return string;
    }
    case QMetaType::QByteArray: {
        const QByteArray bytes = variant.toByteArray();
        budget.take(static_cast<std::size_t>(bytes.size()));
        return Value::Data{bytes.toStdString()};
    }
    case QMetaType::QStringList: {
        Value::Array array;
        for (const QString& item : variant.toStringList()) array.push_back(valueOf(item, depth + 1, budget));
        return array;
    }
    case QMetaType::QVariantList: {
        Value::Array array;
        for (const QVariant& item : variant.toList()) array.push_back(valueOf(item, depth + 1, budget));
        return array;
    }
    case QMetaType::QVariantMap: {
        Value::Dictionary dictionary;
        const QVariantMap map = variant.toMap();
        for (auto item = map.begin(); item != map.end(); ++item)
            dictionary.insert_or_assign(bytesOf(item.key()), valueOf(item.value(), depth + 1, budget));
        return dictionary;
    }
    default:
        budget.fail(EINVAL, std::string("type \"") + variant.typeName() + "\" cannot be read");
        return {};
    }
}

} // namespace

QString text(const std::string& bytes) {
    return QString::fromStdString(paths::displayText(bytes));
}

Result<QVariantMap> toBus(const Value::Dictionary& dictionary) {
    Budget budget;
    QVariantMap map = mapOf(dictionary, 0, budget);
    if (!budget.ok()) return budget.error();
    return map;
}

Result<Value::Dictionary> fromBus(const QVariant& argument) {
    Budget budget;
    Value value = valueOf(argument, 0, budget);
    if (!budget.ok()) return budget.error();
    if (auto* dictionary = value.asDictionary()) return std::move(*dictionary);
    return refused(EINVAL, "a dictionary is needed");
}

} // namespace vt::qtvalues
