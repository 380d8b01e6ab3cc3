#include "vantaroctl/DriveNames.h"
#include "vantaroctl/Failure.h"

#include <gtest/gtest.h>

#include <QJsonObject>

namespace ctl {
namespace {

QJsonObject drive(const char* mountPoint, const char* name) {
    return {{"mountPoint", mountPoint}, {"name", name}};
}

const QJsonArray& served() {
    static const QJsonArray drives{drive("/media/Red", "Red"), drive("/media/Blue", "Blue"),
                                   drive("/media/Red/inner", "inner"), drive("/a/Twin", "Twin"),
                                   drive("/b/Twin", "Twin")};
    return drives;
}

// What `word` means to somebody whose current folder is `folder`.
std::string meant(const QString& word, const QString& folder = "/home/ann", PathsBelow below = PathsBelow::name) {
    try {
        const QString path = word.startsWith('/') ? word : folder + "/" + word;
        return driveMeant(word, {path}, served(), below).toStdString();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, agentError);
        return failure.message.toStdString();
    }
}

TEST(DriveNames, AMountPointAPathBelowItAndANameAreTheDrive) {
    EXPECT_EQ(meant("/media/Red"), "/media/Red");
    EXPECT_EQ(meant("/media/Red/some/folder"), "/media/Red");
    EXPECT_EQ(meant("/media/Red/inner/folder"), "/media/Red/inner") << "the deepest one";
    EXPECT_EQ(meant("Blue"), "/media/Blue");
    EXPECT_EQ(meant("folder", "/media/Blue"), "/media/Blue");
    EXPECT_EQ(meant("Green"), "\"Green\" is not a served drive");
    EXPECT_EQ(meant("/media/Redder"), "\"/media/Redder\" is not a served drive");
    EXPECT_EQ(meant(""), "\"\" is not a served drive");
}

TEST(DriveNames, InAFolderOfOneDriveTheNameOfAnotherIsThatOne) {
    EXPECT_EQ(meant("Blue", "/media/Red"), "/media/Blue");
    EXPECT_EQ(meant("./Blue", "/media/Red"), "/media/Red") << "that is a path";
    EXPECT_EQ(meant("inner", "/media/Red"), "/media/Red/inner") << "the mount point goes before everything";
}

TEST(DriveNames, ANameThatTwoDrivesHaveIsNoneOfThem) {
    const std::string refusal = "several drives are named \"Twin\": /a/Twin, /b/Twin";
    EXPECT_EQ(meant("Twin"), refusal);
    EXPECT_EQ(meant("Twin", "/media/Red"), refusal);
    EXPECT_EQ(meant("Twin", "/b"), "/b/Twin") << "its mount point tells which";
}

TEST(DriveNames, WherePathsBelowDoNotNameOnlyMountPointAndNameDo) {
    EXPECT_EQ(meant("/media/Red", "/", PathsBelow::doNotName), "/media/Red");
    EXPECT_EQ(meant("Red", "/", PathsBelow::doNotName), "/media/Red");
    EXPECT_EQ(meant("/media/Red/folder", "/", PathsBelow::doNotName), "\"/media/Red/folder\" is not a served drive");
    EXPECT_EQ(meant("folder", "/media/Red", PathsBelow::doNotName), "\"folder\" is not a served drive");
}

} // namespace
} // namespace ctl
