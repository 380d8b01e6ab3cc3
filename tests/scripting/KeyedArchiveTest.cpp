#include "scripting/KeyedArchive.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

const Value& at(const Value::Dictionary& archive, const Value& uid) {
    return (*archive.at("$objects").asArray())[uid.asUid()->index];
}

TEST(KeyedArchive, HasItsFourPartsAndARoot) {
    const Value::Dictionary archive = keyedArchive(Value::Dictionary{});
    EXPECT_EQ(archive.at("$archiver"), Value("NSKeyedArchiver"));
    EXPECT_EQ(archive.at("$version"), Value(100000));
    EXPECT_EQ((*archive.at("$objects").asArray())[0], Value("$null"));
    const Value& root = at(archive, archive.at("$top").asDictionary()->at("root"));
    EXPECT_TRUE(root.asDictionary()->at("NS.keys").asArray()->empty());
}

TEST(KeyedArchive, LinksEveryValueByAUid) {
    Value::Dictionary entry;
    entry.emplace("computerName", "studio");
    entry.emplace("lastSyncTime", Date::fromSeconds(978307200 + 60));
    entry.emplace("participateSyncEnabled", true);
    entry.emplace("syncSet", Value::Array{"~/Music"});
    const Value::Dictionary archive = keyedArchive(Value::Dictionary{{"user", entry}});
    const auto* root = at(archive, archive.at("$top").asDictionary()->at("root")).asDictionary();
    EXPECT_EQ(at(archive, (*root->at("NS.keys").asArray())[0]), Value("user"));
    const auto* user = at(archive, (*root->at("NS.objects").asArray())[0]).asDictionary();
    const auto& objects = *user->at("NS.objects").asArray();
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(at(archive, objects[0]), Value("studio"));
    EXPECT_EQ(at(archive, objects[1]).asDictionary()->at("NS.time"), Value(60.0));
    EXPECT_EQ(at(archive, objects[2]), Value(true));
    const auto* list = at(archive, objects[3]).asDictionary();
    EXPECT_EQ(at(archive, (*list->at("NS.objects").asArray())[0]), Value("~/Music"));
    EXPECT_EQ(at(archive, list->at("$class")).asDictionary()->at("$classname"), Value("NSArray"));
}

TEST(KeyedArchive, DescribesEachClassOnce) {
    const Value::Dictionary archive = keyedArchive(Value::Array{Value::Array{}, Value::Array{}});
    int classes = 0;
    for (const Value& object : *archive.at("$objects").asArray()) {
        const auto* dictionary = object.asDictionary();
        if (dictionary != nullptr && dictionary->count("$classname") != 0) ++classes;
    }
    EXPECT_EQ(classes, 1);
}

} // namespace
} // namespace vt
