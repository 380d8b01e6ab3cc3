#include "mediafilter/VTFileValidator.h"

#include "StubFiles.h"
#include "mediafilter/MediaClasses.h"
#include "mediafilter/MediaServices.h"
#include "mediafilter/VTContainerValidator.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vt {
namespace {

constexpr std::uint64_t fourGiB = 4'294'967'296;

class Exclusions final : public ExclusionTables {
  public:
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return names; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return paths; }
    std::vector<std::string> names{".DS_Store", "Thumbs.db"};
    std::vector<std::string> paths{"/home/ada/.Trash", "/home/ada/Pictures/secret.jpg"};
};

class Owner final : public ValidatorOwner {
  public:
    [[nodiscard]] bool cancelPending() const override { return cancel; }
    bool cancel = false;
};

// Media content as a test states it, counting what is asked.
class StatedMedia final : public MediaServices {
  public:
    [[nodiscard]] Answer characterize(const std::string& path, std::int32_t containerType,
                                      const FileAttributes*) override {
        asked.push_back(path);
        Answer result = answer;
        result.record.containerType = containerType;
        return result;
    }
    [[nodiscard]] Result<MediaDescription> describe(const std::string& path) override {
        return Error::fromErrno(EINVAL, path);
    }
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override {
        ++libraryReads;
        return library;
    }
    void passBegins() override { ++passes; }
    Answer answer;
    std::optional<std::string> library;
    std::vector<std::string> asked;
    int libraryReads = 0;
    int passes = 0;
};

MediaServices::Answer h264(std::int64_t width, std::int64_t height) {
    MediaServices::Answer answer;
    answer.record.valid = true;
    answer.record.hasVideo = true;
    answer.record.videoCodec = 1;
    answer.record.width = width;
    answer.record.height = height;
    answer.record.frameRate = 25;
    return answer;
}

class FileValidator : public testing::Test {
  protected:
    void useClass(VTMediaClass mediaClass, std::initializer_list<MediaKind> kinds) {
        validator.flushValidators();
        for (const MediaKind kind : kinds) validator.addContainerValidators(mediaList(mediaClass, kind));
    }
    void useAll(VTMediaClass mediaClass) {
        useClass(mediaClass, {MediaKind::movies, MediaKind::music, MediaKind::pictures, MediaKind::documents});
    }
    bool asks(const std::string& path, bool limit = false) { return validator.shouldCopyItem(path, limit); }

    Exclusions exclusions;
    StubFiles files;
    VTFileValidator validator{exclusions, HomePaths("/home/ada"), files};
};

TEST_F(FileValidator, countsWhatIsAdded) {
    const auto one = VTContainerValidator::suffixMatch("a$", true);
    EXPECT_EQ(validator.addContainerValidator(&one), 1U);
    EXPECT_EQ(validator.addContainerValidators({&one, &one}), 3U);
    EXPECT_EQ(validator.addContainerValidators({}), 3U);
    EXPECT_TRUE(asks("/x/aa"));
    validator.flushValidators();
    EXPECT_FALSE(asks("/x/aa"));
    EXPECT_EQ(validator.addContainerValidator(&one), 1U);
}

TEST_F(FileValidator, answersByTheNameInAnyCase) {
    useAll(VTMediaClass::unlimited);
    EXPECT_TRUE(asks("/home/ada/Movies/Movie.MP4"));
    EXPECT_TRUE(asks("/home/ada/Documents/report.final.PDF"));
    EXPECT_FALSE(asks("/home/ada/Documents/report.exe"));
    EXPECT_FALSE(asks("/home/ada/Documents/report"));
    EXPECT_FALSE(asks("/home/ada/Documents/pdf"));
}

TEST_F(FileValidator, standardisesThePathItIsGiven) {
    useAll(VTMediaClass::unlimited);
    EXPECT_FALSE(asks("~/Pictures/secret.jpg"));
    EXPECT_FALSE(asks("/home/ada//Pictures/../Pictures/./secret.jpg"));
    EXPECT_TRUE(asks("/home/ada/Pictures/secret.jpeg"));
    EXPECT_TRUE(asks("/home/ada/Pictures/holiday.jpg/"));
}

TEST_F(FileValidator, aPendingCancelRefusesEverything) {
    useAll(VTMediaClass::unlimited);
    files.addFolder("/home/ada/Movies");
    const auto owner = std::make_shared<Owner>();
    validator.setOwner(owner);
    EXPECT_TRUE(asks("/home/ada/Movies"));
    owner->cancel = true;
    EXPECT_FALSE(asks("/home/ada/Movies"));
    EXPECT_FALSE(asks("/home/ada/a.mp4"));
}

TEST_F(FileValidator, anOwnerThatIsGoneReportsNoCancel) {
    useAll(VTMediaClass::unlimited);
    auto owner = std::make_shared<Owner>();
    owner->cancel = true;
    validator.setOwner(owner);
    owner.reset();
    EXPECT_TRUE(asks("/home/ada/a.mp4"));
}

TEST_F(FileValidator, workNamesAreRefusedWhateverTheListsSay) {
    useAll(VTMediaClass::unlimited);
    files.addFolder("/home/ada/.d$d.Movies");
    EXPECT_FALSE(asks("/home/ada/.d$f.a.mp4"));
    EXPECT_FALSE(asks("/home/ada/.d$d.Movies"));
    EXPECT_TRUE(asks("/home/ada/.d$x.a.mp4"));
    EXPECT_TRUE(asks("/home/ada/.D$F.a.mp4"));
}

TEST_F(FileValidator, excludedNamesApplyToFoldersTooAndCountCase) {
    useAll(VTMediaClass::unlimited);
    exclusions.names.push_back("a.mp4");
    exclusions.names.push_back("Cache");
    VTFileValidator strict(exclusions, HomePaths("/home/ada"), files);
    strict.addContainerValidators(mediaList(VTMediaClass::unlimited, MediaKind::movies));
    files.addFolder("/home/ada/Cache");
    files.addFolder("/home/ada/cache");
    EXPECT_FALSE(strict.shouldCopyItem("/home/ada/Cache", false));
    EXPECT_TRUE(strict.shouldCopyItem("/home/ada/cache", false));
    EXPECT_FALSE(strict.shouldCopyItem("/home/ada/a.mp4", false));
    EXPECT_TRUE(strict.shouldCopyItem("/home/ada/A.mp4", false));
}

TEST_F(FileValidator, excludedPathsAreCompared) {
    useAll(VTMediaClass::unlimited);
    files.addFolder("/home/ada/.Trash");
    files.addFolder("/home/bob/.Trash");
    EXPECT_FALSE(asks("/home/ada/.Trash"));
    EXPECT_TRUE(asks("/home/bob/.Trash"));
    EXPECT_FALSE(asks("/home/ada/Pictures/secret.jpg"));
    EXPECT_TRUE(asks("/home/ada/Pictures/Secret.jpg"));
}

TEST_F(FileValidator, plainFoldersPassEvenAnEmptyValidator) {
    files.addFolder("/home/ada/Stuff");
    files.addFolder("/home/ada/movie.mp4");
    EXPECT_TRUE(asks("/home/ada/Stuff"));
    EXPECT_TRUE(asks("/home/ada/movie.mp4"));
    EXPECT_FALSE(asks("/home/ada/file.mp4"));
}

TEST_F(FileValidator, aPackageIsJudgedLikeAFile) {
    files.addFolder("/home/ada/Library.photolibrary");
    files.addFolder("/home/ada/Tool.app");
    EXPECT_FALSE(asks("/home/ada/Library.photolibrary"));
    useAll(VTMediaClass::unlimited);
    EXPECT_TRUE(asks("/home/ada/Library.photolibrary"));
    EXPECT_FALSE(asks("/home/ada/Tool.app"));
    useAll(VTMediaClass::windowsRt);
    EXPECT_FALSE(asks("/home/ada/Library.photolibrary"));
}

TEST_F(FileValidator, aLinkToAFolderPassesAlsoWhenItIsNamedLikeAPackage) {
    FileAttributes folder;
    folder.kind = FileKind::directory;
    files.addLink("/home/ada/link", folder);
    files.addLink("/home/ada/link.app", folder);
    EXPECT_TRUE(asks("/home/ada/link"));
    EXPECT_TRUE(asks("/home/ada/link.app"));
    EXPECT_TRUE(validator.shouldCopyKnownItem("/home/ada/link.app", "link.app", false, &folder));
}

TEST_F(FileValidator, theLimitIsFourGiBExactly) {
    useAll(VTMediaClass::unlimited);
    files.addFile("/home/ada/exact.mp4", fourGiB);
    files.addFile("/home/ada/below.mp4", fourGiB - 1);
    EXPECT_FALSE(asks("/home/ada/exact.mp4", true));
    EXPECT_TRUE(asks("/home/ada/below.mp4", true));
    EXPECT_TRUE(asks("/home/ada/exact.mp4", false));
    EXPECT_TRUE(asks("/home/ada/unreadable.mp4", true)); // its size counts as 0
    FileAttributes target;
    target.kind = FileKind::regular;
    target.size = fourGiB;
    files.addLink("/home/ada/link.mp4", target); // a link is small itself
    EXPECT_TRUE(asks("/home/ada/link.mp4", true));
}

TEST_F(FileValidator, aKnownItemCostsNoLook) {
    useAll(VTMediaClass::unlimited);
    FileAttributes folder;
    folder.kind = FileKind::directory;
    FileAttributes file;
    file.kind = FileKind::regular;
    file.size = fourGiB - 1;
    EXPECT_TRUE(validator.shouldCopyKnownItem("/home/ada/Stuff", "Stuff", true, &folder));
    EXPECT_TRUE(validator.shouldCopyKnownItem("/home/ada/a.mp4", "a.mp4", true, &file));
    EXPECT_FALSE(validator.shouldCopyKnownItem("/home/ada/a.exe", "a.exe", true, &file));
    EXPECT_EQ(files.looks, 0);
    file.size = fourGiB;
    EXPECT_FALSE(validator.shouldCopyKnownItem("/home/ada/a.mp4", "a.mp4", true, &file));
    EXPECT_TRUE(validator.shouldCopyKnownItem("/home/ada/a.mp4", "a.mp4", false, &file));
}

TEST_F(FileValidator, aRefusalGoesOnToLaterValidators) {
    const auto no = VTContainerValidator::suffixMatch(R"(.*\.mp4$)", false);
    const auto yes = VTContainerValidator::suffixMatch(R"(.*\.mp4$)", true);
    validator.addContainerValidators({&no, &yes});
    EXPECT_TRUE(asks("/home/ada/a.mp4"));
}

TEST_F(FileValidator, moviesOffAndMusicOnStillAdmitMovieNamesInTheUnlimitedClass) {
    useClass(VTMediaClass::unlimited, {MediaKind::music});
    EXPECT_TRUE(asks("/home/ada/a.mp4"));
    EXPECT_TRUE(asks("/home/ada/a.mov"));
    EXPECT_FALSE(asks("/home/ada/a.m4v"));
}

TEST_F(FileValidator, withoutMediaServicesCodecValidatorsAreNotSatisfied) {
    useAll(VTMediaClass::appleHigh);
    EXPECT_FALSE(asks("/home/ada/a.mp4"));
    EXPECT_FALSE(asks("/home/ada/a.m4b"));
    EXPECT_TRUE(asks("/home/ada/a.mp3"));
}

TEST_F(FileValidator, asksTheContentOncePerFile) {
    StatedMedia media;
    media.answer = h264(1920, 1080);
    validator.setMediaServices(&media);
    useAll(VTMediaClass::appleHigh);
    EXPECT_FALSE(asks("/home/ada/a.mp4")); // the video list refuses it, then the audio list declines it
    EXPECT_EQ(media.asked, std::vector<std::string>{"/home/ada/a.mp4"});
    EXPECT_FALSE(asks("/home/ada/a.exe"));
    EXPECT_EQ(media.asked.size(), 1U);
    media.answer = h264(1280, 720);
    EXPECT_TRUE(asks("/home/ada/b.mp4"));
}

TEST_F(FileValidator, theSecondPatternOfWindowsRtHasNoEnd) {
    StatedMedia media;
    media.answer = h264(1920, 1080);
    validator.setMediaServices(&media);
    useClass(VTMediaClass::windowsRt, {MediaKind::movies});
    EXPECT_TRUE(asks("/home/ada/clip.3g2x"));
    media.answer = {};
    EXPECT_FALSE(asks("/home/ada/clip.3g2x"));
}

TEST_F(FileValidator, aFileThatRanOutOfTimeIsNotTriedAgainInItsPass) {
    StatedMedia media;
    media.answer.outOfTime = true;
    validator.setMediaServices(&media);
    useAll(VTMediaClass::appleHigh);
    validator.beginPass();
    EXPECT_FALSE(asks("/home/ada/a.mp4"));
    media.answer = h264(640, 480);
    EXPECT_FALSE(asks("/home/ada/a.mp4"));
    EXPECT_EQ(media.asked.size(), 1U);
    validator.beginPass();
    EXPECT_TRUE(asks("/home/ada/a.mp4"));
    EXPECT_EQ(media.passes, 2);
}

TEST_F(FileValidator, readsThePhotoBoothLibraryOncePerPass) {
    StatedMedia media;
    media.library = "/home/ada/Photo Booth";
    validator.setMediaServices(&media);
    useAll(VTMediaClass::unlimited);
    validator.beginPass();
    EXPECT_TRUE(asks("/home/ada/Photo Booth/data.bin"));
    EXPECT_FALSE(asks("/home/ada/data.bin"));
    EXPECT_FALSE(asks("/home/ada/more.bin"));
    EXPECT_EQ(media.libraryReads, 1);
    media.library.reset();
    EXPECT_TRUE(asks("/home/ada/Photo Booth/data.bin"));
    validator.beginPass();
    EXPECT_FALSE(asks("/home/ada/Photo Booth/data.bin"));
    EXPECT_EQ(media.libraryReads, 2);
}

TEST_F(FileValidator, androidHasNoPhotoBoothAndWindowsRtNoLibraryAtAll) {
    StatedMedia media;
    media.library = "/home/ada/Photo Booth";
    validator.setMediaServices(&media);
    useAll(VTMediaClass::androidIcs);
    EXPECT_FALSE(asks("/home/ada/Photo Booth/data.bin"));
    EXPECT_TRUE(asks("/home/ada/A.photolibrary"));
    useAll(VTMediaClass::windowsRt);
    EXPECT_FALSE(asks("/home/ada/Photo Booth/data.bin"));
    EXPECT_FALSE(asks("/home/ada/A.photolibrary"));
}

TEST_F(FileValidator, namesOfAnyBytesAreDecided) {
    useAll(VTMediaClass::unlimited);
    EXPECT_TRUE(asks("/home/ada/\xFF\xFE\n.MP4"));
    EXPECT_TRUE(asks("/home/ada/.mp4"));
    EXPECT_FALSE(asks("/home/ada/\xFF"));
    EXPECT_FALSE(validator.shouldCopyItem("/home/ada", "", false));
    EXPECT_FALSE(validator.shouldCopyItem("", "", false));
}

} // namespace
} // namespace vt
