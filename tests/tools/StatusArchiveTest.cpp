#include "vantaroctl/StatusArchive.h"
#include "vantaroctl/Failure.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <cstdlib>
#include <plist/plist.h>

namespace ctl {
namespace {

// A keyed archive, object by object; ids are the order of adding.
class Archive {
  public:
    Archive() { add(plist_new_string("$null")); }
    ~Archive() {
        plist_free(_root);
        if (!_taken) plist_free(_objects);
    }
    std::uint64_t add(plist_t object) {
        plist_array_append_item(_objects, object);
        return plist_array_get_size(_objects) - 1;
    }
    std::uint64_t dictionary(const std::vector<std::pair<std::uint64_t, std::uint64_t>>& entries) {
        plist_t record = plist_new_dict();
        plist_t keys = plist_new_array();
        plist_t objects = plist_new_array();
        for (const auto& [key, object] : entries) {
            plist_array_append_item(keys, plist_new_uid(key));
            plist_array_append_item(objects, plist_new_uid(object));
        }
        plist_dict_set_item(record, "NS.keys", keys);
        plist_dict_set_item(record, "NS.objects", objects);
        return add(record);
    }
    std::uint64_t array(const std::vector<std::uint64_t>& items) {
        plist_t record = plist_new_dict();
        plist_t objects = plist_new_array();
        for (const auto item : items) plist_array_append_item(objects, plist_new_uid(item));
        plist_dict_set_item(record, "NS.objects", objects);
        return add(record);
    }
    std::uint64_t date(double sinceReference) {
        plist_t record = plist_new_dict();
        plist_dict_set_item(record, "NS.time", plist_new_real(sinceReference));
        return add(record);
    }
    std::uint64_t text(const char* text) { return add(plist_new_string(text)); }
    QByteArray bytes(std::uint64_t root) {
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, "root", plist_new_uid(root));
        plist_dict_set_item(_root, "$top", top);
        plist_dict_set_item(_root, "$objects", _objects);
        _taken = true;
        char* data = nullptr;
        std::uint32_t length = 0;
        plist_to_bin(_root, &data, &length);
        QByteArray result(data, static_cast<qsizetype>(length));
        std::free(data);
        return result;
    }

  private:
    plist_t _root = plist_new_dict();
    plist_t _objects = plist_new_array();
    bool _taken = false;
};

TEST(StatusArchive, UsersWithTheirSwitchesListAndDate) {
    Archive archive;
    const auto entry = archive.dictionary({
        {archive.text("computerName"), archive.text("studio")},
        {archive.text("continuousSyncEnabled"), archive.add(plist_new_bool(1))},
        {archive.text("syncSet"), archive.array({archive.text("~/Music"), archive.text("/srv/a")})},
        {archive.text("lastSyncTime"), archive.date(60)},
    });
    const auto root = archive.dictionary({{archive.text("0017F2A1B2C3-501"), entry}});
    const QJsonObject status = decodeStatus(archive.bytes(root));
    ASSERT_EQ(status.keys(), QStringList{"0017F2A1B2C3-501"});
    const QJsonObject user = status["0017F2A1B2C3-501"].toObject();
    EXPECT_EQ(user["computerName"], QJsonValue("studio"));
    EXPECT_EQ(user["continuousSyncEnabled"], QJsonValue(true));
    EXPECT_EQ(user["syncSet"].toArray(), (QJsonArray{"~/Music", "/srv/a"}));
    EXPECT_EQ(user["lastSyncTime"], QJsonValue("2001-01-01T00:01:00Z"));
}

TEST(StatusArchive, WhatIsNoArchiveIsAnError) {
    Archive nothing;
    const QByteArray rows[] = {"", "bplist00", "<plist><dict/></plist>", QByteArray(64, '\xFF'),
                               "bplist00" + QByteArray(64, '\xFF')};
    for (const QByteArray& bytes : rows) EXPECT_THROW((void)decodeStatus(bytes), Failure) << bytes.toHex().data();
}

TEST(StatusArchive, ReferencesOutOfPlaceReadAsNothing) {
    Archive archive;
    const auto root = archive.dictionary({{archive.text("user"), 4711}});
    EXPECT_TRUE(decodeStatus(archive.bytes(root))["user"].isNull());
}

TEST(StatusArchive, CirclesEnd) {
    Archive archive;
    // The dictionary that is made next refers to itself.
    const auto key = archive.text("self");
    const auto root = archive.dictionary({{key, key + 1}});
    ASSERT_EQ(root, key + 1);
    EXPECT_TRUE(decodeStatus(archive.bytes(root)).contains("self"));
}

TEST(StatusArchive, AFewBytesThatStandForVeryManyAreRefused) {
    Archive archive;
    auto item = archive.text("x");
    for (int level = 0; level < 24; ++level) item = archive.array({item, item});
    const auto root = archive.dictionary({{archive.text("user"), item}});
    EXPECT_THROW((void)decodeStatus(archive.bytes(root)), Failure);
}

} // namespace
} // namespace ctl
