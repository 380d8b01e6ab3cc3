#include "platform/linux/volumes/VolumeChanges.h"

#include "platform/VolumeService.h"

#include <gtest/gtest.h>

#include <string>

namespace vt::test {
namespace {

VolumeState volume(VolumeKind kind, const std::string& mountPoint, const std::string& identity = "one") {
    VolumeState state{kind, mountPoint, identity, false, {{diskdescription::deviceInternal, true}}};
    if (!mountPoint.empty()) state.description[diskdescription::volumePath] = mountPoint;
    return state;
}

VolumeState disk(const std::string& mountPoint, const std::string& identity = "one") {
    return volume(VolumeKind::disk, mountPoint, identity);
}

VolumeState folder(const std::string& path, bool returned = false) {
    VolumeState state = volume(VolumeKind::folder, path);
    state.returned = returned;
    return state;
}

std::vector<std::string> words(const std::vector<VolumeEvent>& events) {
    std::vector<std::string> result;
    for (const VolumeEvent& event : events) {
        const char* names[] = {"appeared", "disappeared", "changed"};
        std::string word = names[static_cast<int>(event.what)];
        const auto path = event.description.find(diskdescription::volumePath);
        if (path != event.description.end()) word += " " + *path->second.asString();
        result.push_back(word);
    }
    return result;
}

struct Row {
    const char* name;
    VolumeSnapshot before;
    VolumeSnapshot after;
    std::set<std::string> forgotten;
    std::vector<std::string> events;
};

class VolumeChanges : public ::testing::TestWithParam<Row> {};

TEST_P(VolumeChanges, EventsBetweenTwoLooks) {
    const Row& row = GetParam();
    EXPECT_EQ(words(volumeEvents(row.before, row.after, row.forgotten)), row.events);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VolumeChanges,
    ::testing::Values(
        Row{"Nothing", {{"d", disk("/a")}}, {{"d", disk("/a")}}, {}, {}},
        Row{"PluggedAndMounted", {}, {{"d", disk("/a")}}, {}, {"appeared", "changed /a"}},
        Row{"PluggedOnly", {}, {{"d", disk("")}}, {}, {"appeared"}},
        Row{"MountedLater", {{"d", disk("")}}, {{"d", disk("/a")}}, {}, {"changed /a"}},
        Row{"Unmounted", {{"d", disk("/a")}}, {{"d", disk("")}}, {}, {"changed"}},
        Row{"Pulled", {{"d", disk("/a")}}, {}, {}, {"changed", "disappeared"}},
        Row{"UnpluggedWhenUnmounted", {{"d", disk("")}}, {}, {}, {"disappeared"}},
        Row{"Moved", {{"d", disk("/a")}}, {{"d", disk("/b")}}, {}, {"changed", "changed /b"}},
        Row{"AnotherFileSystem", {{"d", disk("/a")}}, {{"d", disk("/a", "two")}}, {}, {"changed", "changed /a"}},
        Row{"OneTakesAnothersPlace",
            {{"d", disk("/a")}},
            {{"c", disk("/a")}},
            {},
            {"changed", "disappeared", "appeared", "changed /a"}},
        Row{"ShareMounted", {}, {{"/n", volume(VolumeKind::network, "/n")}}, {}, {"appeared /n"}},
        Row{"ShareGone", {{"/n", volume(VolumeKind::network, "/n")}}, {}, {}, {"disappeared /n"}},
        Row{"FolderAdopted", {}, {{"f", folder("/f")}}, {}, {"changed /f"}},
        Row{"FolderLetGo", {{"f", folder("/f")}}, {}, {"f"}, {"changed"}},
        Row{"FolderRemoved", {{"f", folder("/f")}}, {}, {}, {"changed", "disappeared"}},
        Row{"FolderBack", {}, {{"g", folder("/f", true)}}, {}, {"appeared", "changed /f"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FirstVolumeEvents, EverythingMountedAppearsWithItsPath) {
    const auto events = firstVolumeEvents({{"d", disk("/a")}, {"f", folder("/f")}});
    EXPECT_EQ(words(events), (std::vector<std::string>{"appeared /a", "appeared /f"}));
}

} // namespace
} // namespace vt::test
