#include "vantaroctl/Program.h"

#include "vantaroctl/Commands.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace ctl {
namespace {

struct Outcome {
    int code = -1;
    std::string out;
    std::string errors;
};

// One user without a session bus.
class Program : public testing::Test {
  protected:
    Program() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        qputenv("XDG_CONFIG_HOME", home.path().toUtf8() + "/config");
        qputenv("HOME", home.path().toUtf8());
    }
    static Outcome run(const QList<QByteArray>& arguments) {
        static int count = 1;
        static char name[] = "vantaroctl";
        static char* arguments0[] = {name, nullptr};
        static const QCoreApplication application(count, arguments0);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Outcome result;
        result.code = runProgram(arguments);
        result.out = testing::internal::GetCapturedStdout();
        result.errors = testing::internal::GetCapturedStderr();
        return result;
    }
    QTemporaryDir home;
};

TEST_F(Program, HelpAndVersionGoToStandardOutput) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.errors, "");
    for (const Command& command : commands()) {
        const bool isShown = help.out.find(std::string("  ") + command.name + " ") != std::string::npos;
        EXPECT_EQ(isShown, !command.hidden) << command.name;
        const Outcome own = run({command.name, "--help"});
        EXPECT_EQ(own.code, 0) << command.name;
        EXPECT_EQ(own.out.rfind("Usage: " + usageOf(command).toStdString(), 0), 0U) << own.out;
        EXPECT_NE(own.out.find(std::string("Example: ") + command.example), std::string::npos) << command.name;
    }
    EXPECT_EQ(run({"--version"}).out.rfind("vantaroctl ", 0), 0U);
}

TEST_F(Program, NoLineOfTheHelpIsLongerThanATerminalIsWide) {
    std::string all = run({"--help"}).out;
    for (const Command& command : commands()) all += run({command.name, "--help"}).out;
    for (const QString& line : QString::fromStdString(all).split('\n'))
        EXPECT_LE(line.size(), 79) << line.toStdString();
}

TEST_F(Program, WrongUsageIsTwoAndSaysHowItIsUsed) {
    struct Row {
        QList<QByteArray> arguments;
        const char* text;
    };
    const Row rows[] = {
        {{}, "which command? \"vantaroctl --help\" shows them"},
        {{"frobnicate"}, "unknown command \"frobnicate\"; \"vantaroctl --help\" shows them"},
        {{"\x1B[2J\n"}, "unknown command \"?[2J?\"; \"vantaroctl --help\" shows them"},
        {{"list"}, "usage: vantaroctl list DRIVE [--json]"},
        {{"list", "a", "b"}, "usage: vantaroctl list DRIVE [--json]"},
        {{"add", "a"}, "usage: vantaroctl add DRIVE PATH... [--timeout SECONDS]"},
        {{"query", "a", "--json"}, "query takes no --json"},
        {{"drives", "--wait"}, "drives takes no --wait"},
        {{"drives", "--follow"}, "drives takes no --follow"},
        {{"drives", "--timeout", "3"}, "drives takes no --timeout"},
        {{"set", "a", "continuous", "perhaps"}, "\"perhaps\" is neither on nor off"},
        {{"set", "a", "device-filter", "9"}, "\"9\" is no device filter: 0 to 8 or a class name"},
        {{"set", "a", "valid", "on"},
         "unknown setting \"valid\"; it is one of continuous, movies, music, pictures, documents, participate, quiet, "
         "device-filter"},
        {{"get", "a", "colour"},
         "unknown setting \"colour\"; it is one of continuous, movies, music, pictures, documents, participate, quiet, "
         "device-filter, valid"},
        {{"debug", "perhaps"}, "\"perhaps\" is neither on nor off"},
        {{"complete", "stars"}, "unknown kind of words: stars"},
    };
    for (const Row& row : rows) {
        const Outcome result = run(row.arguments);
        EXPECT_EQ(result.code, 2) << row.text;
        EXPECT_EQ(result.errors, std::string("vantaroctl: ") + row.text + "\n");
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Program, WithoutABusThereIsNoAgent) {
    for (const QList<QByteArray>& arguments :
         {QList<QByteArray>{"drives"}, {"list", "x", "--json"}, {"quit"}, {"watch"}}) {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.code, 3) << arguments.first().data();
        EXPECT_EQ(result.errors, "vantaroctl: there is no session bus\n");
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Program, DebugWorksWithoutAnAgent) {
    EXPECT_EQ(run({"debug"}).out, "off\n");
    EXPECT_EQ(run({"debug", "on"}).code, 0);
    EXPECT_EQ(run({"debug"}).out, "on\n");
    EXPECT_EQ(run({"debug", "off"}).code, 0);
    EXPECT_EQ(run({"debug"}).out, "off\n");
    EXPECT_TRUE(QFile::exists(home.path() + "/config/com.corvane.vantaro/defaults.plist"));
}

TEST_F(Program, WordsForAShell) {
    EXPECT_NE(run({"complete", "commands"}).out.find("set-list\n"), std::string::npos);
    EXPECT_EQ(run({"complete", "commands"}).out.find("complete\n"), std::string::npos);
    EXPECT_EQ(run({"complete", "options", "start"}).out, "--help\n--wait\n--timeout\n");
    EXPECT_EQ(run({"complete", "options"}).out, "--help\n--version\n");
    EXPECT_NE(run({"complete", "classes"}).out.find("kindle-fire-hd\n"), std::string::npos);
    EXPECT_NE(run({"complete", "settings"}).out.find("valid\n"), std::string::npos);
    EXPECT_EQ(run({"complete", "switches"}).out.find("valid\n"), std::string::npos);
    // Without an agent there are no drives, and a shell has no use for an error.
    const Outcome drives = run({"complete", "drives"});
    EXPECT_EQ(drives.code, 0);
    EXPECT_EQ(drives.out + drives.errors, "");
}

TEST_F(Program, ALogThatIsNotThereIsAnError) {
    const Outcome result = run({"log"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.errors.find("Library/Logs/Vantaro.log"), std::string::npos);
}

} // namespace
} // namespace ctl
