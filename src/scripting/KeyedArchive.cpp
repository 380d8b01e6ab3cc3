#include "scripting/KeyedArchive.h"

namespace vt {

namespace {

// An archived date counts from 2001-01-01 00:00:00 UTC.
constexpr std::int64_t referenceDateSeconds = 978307200;

class Archiver {
  public:
    Archiver() { _objects.emplace_back("$null"); }

    Value::Uid add(const Value& value) {
        if (value.isNull()) return {0};
        if (const auto* dictionary = value.asDictionary()) return addDictionary(*dictionary);
        if (const auto* array = value.asArray()) return addArray(*array);
        if (const auto* date = value.asDate()) return addDate(*date);
        return append(value);
    }

    Value::Array takeObjects() { return std::move(_objects); }

  private:
    Value::Uid append(Value value) {
        _objects.push_back(std::move(value));
        return {_objects.size() - 1};
    }

    Value::Uid addDictionary(const Value::Dictionary& dictionary) {
        const Value::Uid uid = append(Value());
        Value::Array keys;
        Value::Array objects;
        for (const auto& [key, object] : dictionary) {
            keys.emplace_back(append(key));
            objects.emplace_back(add(object));
        }
        Value::Dictionary record;
        record.emplace("NS.keys", std::move(keys));
        record.emplace("NS.objects", std::move(objects));
        record.emplace("$class", classNamed({"NSMutableDictionary", "NSDictionary", "NSObject"}));
        _objects[uid.index] = std::move(record);
        return uid;
    }

    Value::Uid addArray(const Value::Array& array) {
        const Value::Uid uid = append(Value());
        Value::Array objects;
        for (const Value& object : array) objects.emplace_back(add(object));
        Value::Dictionary record;
        record.emplace("NS.objects", std::move(objects));
        record.emplace("$class", classNamed({"NSArray", "NSObject"}));
        _objects[uid.index] = std::move(record);
        return uid;
    }

    Value::Uid addDate(Date date) {
        const Value::Uid uid = append(Value());
        Value::Dictionary record;
        record.emplace("NS.time", date.secondsSince(Date::fromSeconds(referenceDateSeconds)));
        record.emplace("$class", classNamed({"NSDate", "NSObject"}));
        _objects[uid.index] = std::move(record);
        return uid;
    }

    // Each class is described once, however many objects it has.
    Value::Uid classNamed(const std::vector<std::string>& names) {
        if (const auto known = _classes.find(names.front()); known != _classes.end()) return known->second;
        Value::Dictionary record;
        record.emplace("$classname", names.front());
        record.emplace("$classes", arrayOfStrings(names));
        const Value::Uid uid = append(std::move(record));
        _classes.emplace(names.front(), uid);
        return uid;
    }

    Value::Array _objects;
    std::map<std::string, Value::Uid> _classes;
};

} // namespace

Value::Dictionary keyedArchive(const Value& root) {
    Archiver archiver;
    const Value::Uid uid = archiver.add(root);
    Value::Dictionary archive;
    archive.emplace("$archiver", "NSKeyedArchiver");
    archive.emplace("$version", 100000);
    archive.emplace("$top", Value::Dictionary{{"root", uid}});
    archive.emplace("$objects", archiver.takeObjects());
    return archive;
}

} // namespace vt
