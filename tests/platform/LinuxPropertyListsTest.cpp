#include "platform/linux/LinuxPropertyLists.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

namespace vt {
namespace {

std::string document(const std::string& body) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" + body + "</plist>";
}

Result<Value> parse(std::string_view bytes) {
    return LinuxPropertyLists().parse(bytes);
}

Value tree() {
    return Value(Value::Dictionary{
        {"array", Value(Value::Array{"a", 2, Value(Value::Array{}), Value(Value::Dictionary{})})},
        {"data", Value(Value::Data{std::string("\x00\x01\xff", 3)})},
        {"date", Value(Date::fromSeconds(1369144987))},
        {"empty", Value("")},
        {"false", Value(false)},
        {"largest", Value(std::numeric_limits<std::uint64_t>::max())},
        {"least", Value(std::numeric_limits<std::int64_t>::min())},
        {"real", Value(0.1)},
        {"text", Value("a & b <c> \"d\" \xc3\xa4\xe3\x81\x82\xf0\x9f\x8e\xb5\n\ttab \r\x01 ")},
        {"true", Value(true)},
    });
}

TEST(LinuxPropertyLists, ReadsBackWhatItWrites) {
    LinuxPropertyLists lists;
    const auto xml = lists.xml(tree());
    ASSERT_TRUE(xml.ok());
    EXPECT_EQ(parse(*xml).valueOr({}), tree());
    const auto binary = lists.binary(tree());
    ASSERT_TRUE(binary.ok());
    EXPECT_EQ(parse(*binary).valueOr({}), tree());
}

TEST(LinuxPropertyLists, WritesSortedKeysAndPlainXml) {
    const auto xml =
        LinuxPropertyLists().xml(Value(Value::Dictionary{{"z", Value(Value::Array{true})}, {"a&", Value(-1)}}));
    EXPECT_EQ(xml.valueOr(""), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                               "<plist version=\"1.0\">\n"
                               "<dict>\n"
                               "\t<key>a&amp;</key>\n"
                               "\t<integer>-1</integer>\n"
                               "\t<key>z</key>\n"
                               "\t<array>\n"
                               "\t\t<true/>\n"
                               "\t</array>\n"
                               "</dict>\n"
                               "</plist>\n");
}

TEST(LinuxPropertyLists, KeepsWholeSecondsOfEveryDate) {
    LinuxPropertyLists lists;
    for (const char* text :
         {"1700-02-28T23:59:59Z", "1904-01-01T00:00:00Z", "1931-12-31T23:59:59Z", "1969-12-31T23:59:59Z",
          "2069-05-05T05:05:05Z", "2100-03-01T00:00:01Z", "2261-12-31T23:59:59Z"}) {
        const Value date(*Date::parse(text));
        EXPECT_EQ(parse(document("<date>" + std::string(text) + "</date>")).valueOr({}), date) << text;
        EXPECT_EQ(parse(lists.xml(date).valueOr("")).valueOr({}), date) << text;
        EXPECT_EQ(parse(lists.binary(date).valueOr("")).valueOr({}), date) << text;
    }
}

TEST(LinuxPropertyLists, ReadsWhatOtherProgramsWrite) {
    EXPECT_EQ(parse(document("<string>a<!-- c --><![CDATA[<&>]]>&#x41;</string>")).valueOr({}), Value("a<&>A"));
    EXPECT_EQ(parse(document("<!-- x --><array>\n <true/>\n<false></false></array>")).valueOr({}),
              Value(Value::Array{true, false}));
    EXPECT_EQ(parse(document("<data>\n AQ\n ID </data>")).valueOr({}), Value(Value::Data{"\x01\x02\x03"}));
    EXPECT_EQ(parse("\xef\xbb\xbf" + document("<integer> 0x10 </integer>")).valueOr({}), Value(16));
    EXPECT_EQ(parse(document("<real>+1.5e3</real>")).valueOr({}), Value(1500.0));
    EXPECT_EQ(parse(document("<dict><key>CF$UID</key><integer>3</integer></dict>")).valueOr({}),
              Value(Value::Dictionary{{"CF$UID", Value(3)}}));
}

TEST(LinuxPropertyLists, KeepsReferencesOfKeyedArchivesInBinary) {
    LinuxPropertyLists lists;
    const Value archive(Value::Dictionary{{"$top", Value(Value::Uid{70000})}});
    EXPECT_EQ(parse(lists.binary(archive).valueOr("")).valueOr({}), archive);
    EXPECT_EQ(lists.xml(archive).code(), EINVAL);
}

struct BadXml {
    const char* name;
    std::string bytes;
};

TEST(LinuxPropertyLists, RefusesMalformedXml) {
    const std::vector<BadXml> rows = {
        {"nothing", ""},
        {"no property list", "hello"},
        {"no end", "<plist version=\"1.0\"><true/>"},
        {"cut off", "<plist version=\"1.0\"><dict><key>a</key><str"},
        {"no value", document("")},
        {"two values", document("<true/><true/>")},
        {"bad integer", document("<integer>12x</integer>")},
        {"empty integer", document("<integer></integer>")},
        {"large integer", document("<integer>18446744073709551616</integer>")},
        {"small integer", document("<integer>-9223372036854775809</integer>")},
        {"bad real", document("<real>1,5</real>")},
        {"bad date", document("<date>2013-02-30T00:00:00Z</date>")},
        {"date without zone", document("<date>2013-02-20T00:00:00</date>")},
        {"date with fraction", document("<date>2013-02-20T00:00:00.5Z</date>")},
        {"bad base64", document("<data>A*==</data>")},
        {"short base64", document("<data>AQI</data>")},
        {"key without value", document("<dict><key>a</key></dict>")},
        {"value without key", document("<dict><true/></dict>")},
        {"key in array", document("<array><key>a</key></array>")},
        {"text in array", document("<array>x</array>")},
        {"unknown element", document("<blink/>")},
        {"wrong nesting", document("<array><dict></array></dict>")},
        {"unknown entity", document("<string>&foo;</string>")},
        {"zero character", document("<string>&#0;</string>")},
        {"surrogate", document("<string>&#xd800;</string>")},
        {"zero byte", document(std::string("<string>a\0b</string>", 20))},
        {"not UTF-8", document("<string>\xff</string>")},
        {"own entities", "<!DOCTYPE plist [<!ENTITY a \"b\">]>" + document("<string>&a;</string>")},
        {"open comment", document("<!-- <true/>")},
    };
    for (const BadXml& row : rows) {
        const auto result = parse(row.bytes);
        EXPECT_EQ(result.code(), EINVAL) << row.name;
    }
}

TEST(LinuxPropertyLists, SaysWhatIsWrongAndWhere) {
    EXPECT_EQ(parse("<plist>\n<dict>\n<key>a</key>\n<integer>x</integer></dict></plist>").error().describe(),
              "property list: a bad integer \"x\" in line 4");
    const Value bad(Value::Dictionary{{"users", Value(Value::Dictionary{{"name", Value("\xff")}})}});
    EXPECT_EQ(LinuxPropertyLists().xml(bad).error().describe(),
              "property list: text that is not UTF-8 at \"/users/name\"");
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) result += text;
    return result;
}

TEST(LinuxPropertyLists, RefusesDeepAndHugeXml) {
    EXPECT_TRUE(parse(document(repeated("<array>", 512) + repeated("</array>", 512))).ok());
    EXPECT_EQ(parse(document(repeated("<array>", 513) + repeated("</array>", 513))).code(), EINVAL);
    EXPECT_EQ(parse(document(repeated("<array>", 200'000) + repeated("</array>", 200'000))).code(), EINVAL);
    EXPECT_EQ(parse(document("<string>" + repeated("&amp;", 1'250'000) + "</string>")).code(), EINVAL);
    EXPECT_EQ(parse(std::string((std::size_t{64} << 20U) + 1, ' ')).code(), EINVAL);
}

TEST(LinuxPropertyLists, RefusesToWriteWhatCannotBeRead) {
    LinuxPropertyLists lists;
    Value deep(1);
    for (int i = 0; i < 513; ++i) deep = Value(Value::Array{std::move(deep)});
    EXPECT_EQ(lists.xml(deep).code(), EINVAL);
    EXPECT_EQ(lists.binary(deep).code(), EINVAL);
    EXPECT_EQ(lists.xml(Value()).code(), EINVAL);
    EXPECT_EQ(lists.xml(Value("\xff")).code(), EINVAL);
    EXPECT_EQ(lists.binary(Value("\xff")).code(), EINVAL);
    EXPECT_EQ(lists.xml(Value(std::string("a\0b", 3))).code(), EINVAL);
    EXPECT_EQ(lists.xml(Value(Value::Dictionary{{"\xff", Value(1)}})).code(), EINVAL);
}

// Header, objects, their offsets, trailer: each object is given as its bytes.
std::string binaryOf(const std::vector<std::string>& objects, char root = 0) {
    std::string bytes = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += static_cast<char>(bytes.size());
        bytes += object;
    }
    const std::size_t at = bytes.size();
    const auto eight = [](std::size_t number) { return std::string(7, '\0') + static_cast<char>(number); };
    return bytes + table + std::string(6, '\0') + "\x01\x01" + eight(objects.size()) +
           eight(static_cast<unsigned char>(root)) + eight(at);
}

TEST(LinuxPropertyLists, RefusesMalformedBinary) {
    EXPECT_EQ(parse(binaryOf({"\xa1\x01", "\x09"})).valueOr({}), Value(Value::Array{true}));
    const std::vector<BadXml> rows = {
        {"header alone", "bplist00"},
        {"no object", binaryOf({})},
        {"holds itself", binaryOf({std::string("\xa1\x00", 2)})},
        {"reference to nothing", binaryOf({"\xa1\x05"})},
        {"root out of range", binaryOf({"\x09"}, 3)},
        {"long string", binaryOf({"\x5f\x10\x7f"
                                  "ab"})},
        {"endless string", binaryOf({std::string("\x5f\x13\xff\xff\xff\xff\xff\xff\xff\xff", 10)})},
        {"long array", binaryOf({std::string("\xaf\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 10)})},
        {"string that is not UTF-8", binaryOf({"\x51\xff"})},
        {"zero in a key", binaryOf({"\xd1\x01\x02", std::string("\x52\0a", 3), "\x09"})},
        {"zero in a wide key", binaryOf({"\xd1\x01\x02", std::string("\x61\0\0", 3), "\x09"})},
        {"unknown kind", binaryOf({"\xf0"})},
        {"date that is no number", binaryOf({std::string("\x33\x7f\xf8\0\0\0\0\0\0", 9)})},
        {"cut off", binaryOf({"\xa1\x01", "\x09"}).substr(0, 20)},
    };
    for (const BadXml& row : rows) EXPECT_EQ(parse(row.bytes).code(), EINVAL) << row.name;
}

TEST(LinuxPropertyLists, RefusesBinaryThatUnfoldsWithoutEnd) {
    std::vector<std::string> objects;
    for (char i = 0; i < 60; ++i) objects.push_back(std::string("\xa2") + char(i + 1) + char(i + 1));
    objects.emplace_back("\x09");
    EXPECT_EQ(parse(binaryOf(objects)).code(), EINVAL);
}

TEST(LinuxPropertyLists, EveryPrefixAndEveryChangedByteIsSurvived) {
    LinuxPropertyLists lists;
    const std::string texts[] = {lists.xml(tree()).valueOr(""), lists.binary(tree()).valueOr("")};
    for (const std::string& bytes : texts) {
        for (std::size_t length = 0; length + 1 < bytes.size(); ++length)
            EXPECT_FALSE(parse(bytes.substr(0, length)).ok()) << length;
        for (std::size_t at = 0; at < bytes.size(); ++at)
            for (const char byte : {'\0', '\xff', '<', '\x10'}) {
                std::string changed = bytes;
                changed[at] = byte;
                const auto result = parse(changed);
                EXPECT_TRUE(result.ok() || result.code() == EINVAL);
            }
    }
}

} // namespace
} // namespace vt
