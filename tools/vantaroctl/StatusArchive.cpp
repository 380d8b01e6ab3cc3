#include "vantaroctl/StatusArchive.h"

#include "vantaroctl/Failure.h"

#include <QDateTime>
#include <QJsonArray>

#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace ctl {

namespace {

constexpr int deepest = 32;
constexpr int mostObjects = 1'000'000;      // references may share objects, so that few bytes can stand for very many
constexpr qint64 referenceDate = 978307200; // 2001-01-01 00:00:00 UTC, where archived dates begin

using Plist = std::unique_ptr<void, decltype(&plist_free)>;

class Unarchiver {
  public:
    explicit Unarchiver(plist_t objects) : _objects(objects) {}

    QJsonValue object(plist_t reference, int depth) {
        if (++_visited > mostObjects) throw Failure{agentError, "the status is too large"};
        if (depth > deepest || reference == nullptr || plist_get_node_type(reference) != PLIST_UID) return {};
        uint64_t index = 0;
        plist_get_uid_val(reference, &index);
        if (index >= plist_array_get_size(_objects)) return {};
        return value(plist_array_get_item(_objects, static_cast<uint32_t>(index)), depth);
    }

  private:
    QJsonValue value(plist_t node, int depth) {
        switch (plist_get_node_type(node)) {
        case PLIST_STRING:
            return text(node);
        case PLIST_BOOLEAN: {
            uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            return flag != 0;
        }
        case PLIST_UINT: {
            uint64_t number = 0;
            plist_get_uint_val(node, &number);
            return static_cast<qint64>(number);
        }
        case PLIST_REAL: {
            double number = 0;
            plist_get_real_val(node, &number);
            return number;
        }
        case PLIST_DICT:
            return record(node, depth);
        default:
            return {};
        }
    }

    QJsonValue record(plist_t node, int depth) {
        if (plist_t time = plist_dict_get_item(node, "NS.time"); time != nullptr) {
            double seconds = 0;
            plist_get_real_val(time, &seconds);
            return QDateTime::fromSecsSinceEpoch(referenceDate + static_cast<qint64>(seconds), Qt::UTC)
                .toString(Qt::ISODate);
        }
        plist_t objects = plist_dict_get_item(node, "NS.objects");
        plist_t keys = plist_dict_get_item(node, "NS.keys");
        if (objects == nullptr || plist_get_node_type(objects) != PLIST_ARRAY) return {};
        const uint32_t count = plist_array_get_size(objects);
        if (keys == nullptr) {
            QJsonArray array;
            for (uint32_t i = 0; i < count; ++i) array.append(object(plist_array_get_item(objects, i), depth + 1));
            return array;
        }
        if (plist_get_node_type(keys) != PLIST_ARRAY || plist_array_get_size(keys) != count) return {};
        QJsonObject dictionary;
        for (uint32_t i = 0; i < count; ++i)
            dictionary.insert(object(plist_array_get_item(keys, i), depth + 1).toString(),
                              object(plist_array_get_item(objects, i), depth + 1));
        return dictionary;
    }

    static QString text(plist_t node) {
        char* bytes = nullptr;
        plist_get_string_val(node, &bytes);
        const QString string = QString::fromUtf8(bytes);
        std::free(bytes);
        return string;
    }

    plist_t _objects;
    int _visited = 0;
};

} // namespace

QJsonObject decodeStatus(const QByteArray& archive) {
    if (!archive.startsWith("bplist")) throw Failure{agentError, "the status is no keyed archive"};
    plist_t raw = nullptr;
    plist_from_bin(archive.constData(), static_cast<uint32_t>(archive.size()), &raw);
    const Plist root(raw, plist_free);
    plist_t top = raw != nullptr && plist_get_node_type(raw) == PLIST_DICT ? plist_dict_get_item(raw, "$top") : nullptr;
    plist_t objects = top != nullptr ? plist_dict_get_item(raw, "$objects") : nullptr;
    if (objects == nullptr || plist_get_node_type(objects) != PLIST_ARRAY || plist_get_node_type(top) != PLIST_DICT)
        throw Failure{agentError, "the status is no keyed archive"};
    return Unarchiver(objects).object(plist_dict_get_item(top, "root"), 0).toObject();
}

} // namespace ctl
