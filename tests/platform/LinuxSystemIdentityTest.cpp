#include "platform/linux/LinuxSystemIdentity.h"

#include "platform/linux/DesktopSettings.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <unistd.h>

namespace vt {
namespace {

using UserFolder = SystemIdentity::UserFolder;

class LinuxSystemIdentityTest : public testing::Test {
  protected:
    LinuxSystemIdentityTest() {
        environment["HOME"] = folder / "home";
        std::filesystem::create_directories(folder / "home");
        std::filesystem::create_directories(folder / "net");
    }
    void write(const std::string& below, const std::string& text) {
        const std::filesystem::path path = folder / below;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    void card(const std::string& name, int index, const std::string& address, bool physical, bool wireless = false) {
        write("net/" + name + "/address", address + "\n");
        write("net/" + name + "/ifindex", std::to_string(index) + "\n");
        write("net/" + name + "/type", "1\n");
        if (physical) std::filesystem::create_directories(folder / ("net/" + name + "/device"));
        if (wireless) std::filesystem::create_directories(folder / ("net/" + name + "/wireless"));
    }
    LinuxSystemIdentity identity() {
        LinuxSystemIdentity::Sources sources;
        sources.environment = [this](const char* variable) -> std::optional<std::string> {
            const auto found = environment.find(variable);
            return found == environment.end() ? std::nullopt : std::optional<std::string>(found->second);
        };
        sources.machineInfo = folder / "machine-info";
        sources.machineId = folder / "machine-id";
        sources.networkInterfaces = folder / "net";
        sources.permanentAddress = [this](const std::string& name) -> std::optional<std::string> {
            const auto found = permanent.find(name);
            return found == permanent.end() ? std::nullopt : std::optional<std::string>(found->second);
        };
        return {files, files, sources};
    }
    std::string stored() { return files.read(folder / "home/.local/state/vantaro/host-identity", 99).valueOr("none"); }

    test::TemporaryFolder folder;
    LinuxFiles files;
    std::map<std::string, std::string> environment;
    std::map<std::string, std::string> permanent;
};

TEST_F(LinuxSystemIdentityTest, HomeIsTheVariableWhenItIsAbsolute) {
    environment["HOME"] = "/home/ada//x/";
    EXPECT_EQ(identity().home(), "/home/ada/x");
    environment["HOME"] = "relative";
    EXPECT_EQ(identity().home().front(), '/');
    EXPECT_NE(identity().home(), "relative");
}

TEST_F(LinuxSystemIdentityTest, ANameWithALineEndBeginsNoLineInTheSystemLog) {
    card("eth0", 2, "00:11:22:33:44:55", true);
    write("st\nate", "a file in the folder's place");
    environment["XDG_STATE_HOME"] = folder / "st\nate";
    testing::internal::CaptureStderr();
    EXPECT_EQ(identity().ethernetAddress(), "001122334455");
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(line.starts_with("The computer's address could not be remembered: ")) << line;
    EXPECT_NE(line.find("/st\\x0Aate/"), std::string::npos) << line;
    EXPECT_EQ(line.find("st\nate"), std::string::npos) << line;
}

TEST_F(LinuxSystemIdentityTest, TheStartOfTheComputerHasAName) {
    LinuxFiles own;
    const std::string now = LinuxSystemIdentity(own, own).bootId();
    EXPECT_EQ(now.size(), 36U);
    EXPECT_EQ(LinuxSystemIdentity(own, own).bootId(), now);
}

TEST_F(LinuxSystemIdentityTest, FoldersFollowTheirVariablesWhenTheseAreAbsolute) {
    EXPECT_EQ(identity().configHome(), folder / "home/.config");
    EXPECT_EQ(identity().dataHome(), folder / "home/.local/share");
    EXPECT_EQ(identity().stateHome(), folder / "home/.local/state");
    environment["XDG_CONFIG_HOME"] = "/c/";
    environment["XDG_STATE_HOME"] = "relative";
    EXPECT_EQ(identity().configHome(), "/c");
    EXPECT_EQ(identity().stateHome(), folder / "home/.local/state");
}

TEST_F(LinuxSystemIdentityTest, TheMachineNameIsThePrettyOneElseTheHostName) {
    EXPECT_EQ(identity().machineName(), identity().hostName());
    write("machine-info", "# comment\nICON_NAME=computer\nPRETTY_HOSTNAME=\"Ada's A/B \\\"Box\\\"\"\n");
    EXPECT_EQ(identity().machineName(), "Ada's A-B \"Box\"");
    write("machine-info", "PRETTY_HOSTNAME=\n");
    EXPECT_EQ(identity().machineName(), identity().hostName());
}

TEST_F(LinuxSystemIdentityTest, TheUserIsTheProcesssOwn) {
    EXPECT_EQ(identity().userId(), ::getuid());
    EXPECT_FALSE(identity().userName().empty());
    EXPECT_EQ(identity().userName().find('/'), std::string::npos);
}

TEST_F(LinuxSystemIdentityTest, TheAddressIsTheFirstPhysicalPortsPermanentOne) {
    card("lo", 1, "00:00:00:00:00:00", false);
    card("docker0", 2, "02:42:00:00:00:01", false);
    card("wlan0", 3, "aa:aa:aa:aa:aa:03", true, true);
    card("eth1", 5, "aa:aa:aa:aa:aa:05", true);
    card("eth0", 4, "aa:aa:aa:aa:aa:04", true);
    permanent["eth0"] = "0A1B2C3D4E5F";
    EXPECT_EQ(identity().ethernetAddress(), "0A1B2C3D4E5F");
    EXPECT_EQ(stored(), "0A1B2C3D4E5F\n");
}

TEST_F(LinuxSystemIdentityTest, WithoutEthernetItIsTheWirelessCards) {
    card("wlan0", 3, "aa:aa:aa:aa:aa:03", true, true);
    EXPECT_EQ(identity().ethernetAddress(), "AAAAAAAAAA03");
}

TEST_F(LinuxSystemIdentityTest, WithoutACardItComesFromTheMachineId) {
    EXPECT_EQ(identity().ethernetAddress(), std::nullopt);
    write("machine-id", "0123456789abcdef0123456789abcdef\n");
    const auto address = identity().ethernetAddress();
    ASSERT_TRUE(address);
    EXPECT_TRUE(isNetworkAddress(*address));
    EXPECT_EQ(std::stoi(address->substr(0, 2), nullptr, 16) & 3, 2); // locally administered, no group
    EXPECT_NE(addressFromMachineId("0123456789abcdef0123456789abcdee"), *address);
}

TEST_F(LinuxSystemIdentityTest, TheRememberedAddressIsPreferredWhileItIsOne) {
    card("eth0", 4, "aa:aa:aa:aa:aa:04", true);
    write("home/.local/state/vantaro/host-identity", "0A1B2C3D4E5F\n");
    EXPECT_EQ(identity().ethernetAddress(), "0A1B2C3D4E5F");
    write("home/.local/state/vantaro/host-identity", "0a1b2c3d4e5f\n");
    EXPECT_EQ(identity().ethernetAddress(), "AAAAAAAAAA04");
    EXPECT_EQ(stored(), "AAAAAAAAAA04\n");
}

TEST_F(LinuxSystemIdentityTest, AnotherCardLaterChangesNothing) {
    card("wlan0", 3, "aa:aa:aa:aa:aa:03", true, true);
    ASSERT_EQ(identity().ethernetAddress(), "AAAAAAAAAA03");
    card("eth0", 4, "aa:aa:aa:aa:aa:04", true);
    EXPECT_EQ(identity().ethernetAddress(), "AAAAAAAAAA03");
}

TEST_F(LinuxSystemIdentityTest, UserFoldersAreTheDesktopsElseTheUsualOnes) {
    EXPECT_EQ(identity().userFolder(UserFolder::music), std::nullopt);
    std::filesystem::create_directories(folder / "home/Music");
    EXPECT_EQ(identity().userFolder(UserFolder::music), folder / "home/Music");
    std::filesystem::create_directories(folder / "home/Musik");
    std::filesystem::create_directories(folder / "films");
    write("home/.config/user-dirs.dirs", "# written by xdg-user-dirs-update\nXDG_MUSIC_DIR=\"$HOME/Musik\"\n"
                                         "XDG_VIDEOS_DIR=\"" +
                                             (folder / "films") + "\"\nXDG_PICTURES_DIR=\"$HOME/\"\n");
    EXPECT_EQ(identity().userFolder(UserFolder::music), folder / "home/Musik");
    EXPECT_EQ(identity().userFolder(UserFolder::movies), folder / "films");
    EXPECT_EQ(identity().userFolder(UserFolder::pictures), std::nullopt); // the home folder itself is none
    std::filesystem::remove(folder / "home/Musik");
    EXPECT_EQ(identity().userFolder(UserFolder::music), folder / "home/Music");
}

TEST_F(LinuxSystemIdentityTest, TheMachineIdIsReadOrLocal) {
    EXPECT_EQ(identity().machineId(), "local");
    write("machine-id", "../../etc/passwd\n");
    EXPECT_EQ(identity().machineId(), "local");
    write("machine-id", "0123456789abcdef0123456789abcdef\n");
    EXPECT_EQ(identity().machineId(), "0123456789abcdef0123456789abcdef");
}

TEST(DesktopSettings, ReadsAssignments) {
    EXPECT_EQ(readAssignments("A=1\n # x\n B = \"two \\\"2\\\"\" \nC='$x'\nnonsense\nA=3"),
              (std::map<std::string, std::string>{{"A", "3"}, {"B", "two \"2\""}, {"C", "$x"}}));
}

TEST(NetworkAddress, TheKernelDoesNotKnowOneForALoop) {
    EXPECT_EQ(askKernelForAddress("lo").value_or("000000000000"), "000000000000");
    EXPECT_EQ(askKernelForAddress("a-name-that-no-interface-can-have"), std::nullopt);
}

TEST(LinuxClock, GoesOn) {
    const LinuxClock clock;
    EXPECT_GT(clock.now(), *Date::parse("2020-01-01T00:00:00Z"));
    const auto before = clock.steady();
    EXPECT_GE(clock.steady(), before);
}

} // namespace
} // namespace vt
