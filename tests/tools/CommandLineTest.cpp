#include "vantaroctl/CommandLine.h"
#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Settings.h"

#include <gtest/gtest.h>

#include <set>

namespace ctl {
namespace {

CommandLine parse(const QList<QByteArray>& arguments) {
    return CommandLine::parse(arguments);
}

QString refusal(const QList<QByteArray>& arguments) {
    try {
        (void)parse(arguments);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, usageError);
        return failure.message;
    }
    return "accepted";
}

TEST(CommandLine, ACommandItsArgumentsAndOptionsInAnyOrder) {
    const CommandLine line = parse({"start", "--wait", "Stick", "--timeout", "2.5"});
    EXPECT_EQ(line.command, "start");
    EXPECT_EQ(line.arguments, QList<QByteArray>{"Stick"});
    EXPECT_TRUE(line.wait);
    EXPECT_EQ(line.timeout, 2.5);
    EXPECT_FALSE(line.json);
    EXPECT_TRUE(parse({"--json", "drives"}).json);
    EXPECT_TRUE(parse({"log", "--follow"}).follow);
    EXPECT_TRUE(parse({"log", "-h"}).help);
    EXPECT_TRUE(parse({"--version"}).version);
    EXPECT_EQ(parse({"set-list", "Stick", "--timeout=7"}).timeout, 7.0);
}

TEST(CommandLine, BehindTwoHyphensEverythingIsAnArgument) {
    const CommandLine line = parse({"add", "Stick", "--", "--json", "-x"});
    EXPECT_EQ(line.arguments, (QList<QByteArray>{"Stick", "--json", "-x"}));
    EXPECT_FALSE(line.json);
    EXPECT_EQ(parse({"add", "Stick", "--", "--", "-x"}).arguments, (QList<QByteArray>{"Stick", "--", "-x"}));
}

TEST(CommandLine, TheParametersOfARawEventMayBeginWithHyphens) {
    const QList<QByteArray> arguments{"vnTR", "GETL", "----=furl:/mnt"};
    EXPECT_EQ(parse({"event", "vnTR", "GETL", "----=furl:/mnt"}).arguments, arguments);
    EXPECT_EQ(parse({"event", "vnTR", "GETL", "--", "----=furl:/mnt"}).arguments, arguments);
    EXPECT_EQ(parse({"event", "--", "vnTR", "GETL", "----=furl:/mnt"}).arguments, arguments);
}

TEST(CommandLine, ArgumentsKeepTheirBytes) {
    EXPECT_EQ(parse({"adopt", "/mnt/\xFF"}).arguments, QList<QByteArray>{"/mnt/\xFF"});
}

TEST(CommandLine, WrongOptionsAreNamed) {
    EXPECT_EQ(refusal({"drives", "--frobnicate"}), "unknown option --frobnicate");
    EXPECT_EQ(refusal({"start", "x", "--timeout"}), "--timeout takes a number of seconds");
    for (const char* value : {"soon", "-1", "nan", "inf", ""})
        EXPECT_EQ(refusal({"start", "x", "--timeout", value}),
                  QString("--timeout takes a number of seconds, not \"%1\"").arg(value));
}

TEST(CommandLine, ATimeoutIsAtMostWhatATimerHolds) {
    EXPECT_EQ(parse({"start", "x", "--timeout", "1e300"}).timeout, 2'000'000.0);
}

TEST(Commands, EveryOneHasItsUsageAndAnExampleOfItself) {
    std::set<QByteArray> names;
    for (const Command& command : commands()) {
        EXPECT_TRUE(names.insert(command.name).second) << command.name;
        EXPECT_TRUE(usageOf(command).startsWith(QString("vantaroctl %1").arg(command.name))) << command.name;
        EXPECT_TRUE(QString(command.example).startsWith(QString("vantaroctl %1").arg(command.name))) << command.name;
        EXPECT_TRUE(QString(command.summary).endsWith('.')) << command.name;
        EXPECT_EQ(commandNamed(command.name), &command);
    }
    EXPECT_EQ(usageOf(*commandNamed("start")), "vantaroctl start DRIVE [--wait] [--timeout SECONDS]");
    EXPECT_EQ(usageOf(*commandNamed("status")), "vantaroctl status DRIVE [--json]");
    EXPECT_EQ(commandNamed("frobnicate"), nullptr);
}

TEST(Commands, TheNamesOfSettingsAndClasses) {
    const QStringList writable{"continuous", "movies",      "music", "pictures",
                               "documents",  "participate", "quiet", "device-filter"};
    EXPECT_EQ(settingNames(true), writable);
    EXPECT_EQ(settingNames(false), QStringList(writable) << "valid");
    EXPECT_EQ(deviceClassNames(), (QStringList{"unlimited", "apple-high", "apple-unlimited", "apple-low", "android",
                                               "kindle-fire", "kindle-fire-hd", "windows-rt"}));
}

TEST(Commands, BooleansInEverySpelling) {
    for (const char* text : {"on", "true", "yes", "1", "ON", "True"}) EXPECT_TRUE(booleanOf(text)) << text;
    for (const char* text : {"off", "false", "no", "0", "Off"}) EXPECT_FALSE(booleanOf(text)) << text;
    for (const char* text : {"", "perhaps", "2", "onn"}) EXPECT_THROW((void)booleanOf(text), Failure) << text;
}

} // namespace
} // namespace ctl
