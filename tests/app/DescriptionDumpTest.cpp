// The diagnostic aid that prints a disk's description: one line a key, each value with the tag of its type.
#include "app/DescriptionDump.h"

#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeVolumes.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace vt::test {
namespace {

std::string said(const std::function<void()>& work) {
    ::testing::internal::CaptureStderr();
    work();
    return ::testing::internal::GetCapturedStderr();
}

TEST(DescriptionDump, EachValueHasTheTagOfItsType) {
    struct Row {
        const char* key;
        Value value;
        const char* line;
    };
    const Row rows[] = {
        {"k", true, "   k: 1    <CFBoolean>\n"},
        {"k", false, "   k: 0    <CFBoolean>\n"},
        {"k", Value::Data{"ab"}, "   k: <6162>    <CFData>\n"},
        {"k", Value::Dictionary{{"a", 1}}, "   k: {\n    a = 1;\n}    <CFDictionary>\n"},
        {"k", 1.5, "   k: 1.5    <CFNumber (float)>\n"},
        {"k", 7, "   k: 7    <CFNumber (long)>\n"},
        {"k", std::int64_t{-2'147'483'648}, "   k: -2147483648    <CFNumber (long)>\n"},
        {"k", std::uint64_t{16'004'415'488}, "   k: 16004415488    <CFNumber (long long)>\n"},
        {"k", std::int64_t{-2'147'483'649}, "   k: -2147483649    <CFNumber (long long)>\n"},
        {"k", std::numeric_limits<std::uint64_t>::max(), "   k: 18446744073709551615    <CFNumber type=17>\n"},
        {"k", "text", "   k: text    <CFString>\n"},
        {diskdescription::volumePath, "/media/x\ny", "   DAVolumePath: /media/x\\x0Ay    <CFURL>\n"},
        {diskdescription::volumeUuid, "1111-2222", "   DAVolumeUUID: 1111-2222    <CFUUID>\n"},
        {"k", Value::Array{1}, "   k: (\n    1\n)    <CFType 9>\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(said([&] { displayKey(row.key, row.value); }), row.line);
}

TEST(DescriptionDump, EveryKeyOfTheDiskIsShownInItsOrder) {
    FakeClock clock;
    FakeRunLoop loop(clock);
    FakeVolumes volumes(loop);
    FakeMount stick;
    stick.uuid = "1111-2222";
    volumes.mount("disk8s1", "/media/stick", stick);
    EXPECT_EQ(said([&] { dumpKeys(volumes, "/media/stick"); }), "   DADeviceInternal: 0    <CFBoolean>\n"
                                                                "   DAMediaBSDName: disk8s1    <CFString>\n"
                                                                "   DAMediaContent: Linux    <CFString>\n"
                                                                "   DAMediaSize: 1073741824    <CFNumber (long)>\n"
                                                                "   DAMediaWritable: 1    <CFBoolean>\n"
                                                                "   DAVolumeKind: ext4    <CFString>\n"
                                                                "   DAVolumeName: stick    <CFString>\n"
                                                                "   DAVolumeNetwork: 0    <CFBoolean>\n"
                                                                "   DAVolumePath: /media/stick    <CFURL>\n"
                                                                "   DAVolumeUUID: 1111-2222    <CFUUID>\n"
                                                                "   VTVolumeIdentity: 1111-2222    <CFString>\n");
    EXPECT_EQ(said([&] { dumpKeys(volumes, "/media/elsewhere"); }), "");
}

} // namespace
} // namespace vt::test
