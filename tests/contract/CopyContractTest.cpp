// What every item copier promises, on the fake disk and on real folders.
#include "support/CopyWitness.h"
#include "support/FileGrounds.h"
#include "support/TreeLiteral.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t mebibyte = 1024 * 1024;
const Date someDate = Date::fromSeconds(1'369'144'987, 123'456'789);

class CopyContract : public testing::TestWithParam<GroundKind> {
  protected:
    void SetUp() override { buildTree(_files, _contents, _ground->root() + "/to", {}); }
    [[nodiscard]] std::string from(const std::string& below) const { return _ground->root() + "/from/" + below; }
    [[nodiscard]] std::string to(const std::string& below) const { return _ground->root() + "/to/" + below; }
    void build(const std::vector<TreeItem>& items) { buildTree(_files, _contents, _ground->root() + "/from", items); }
    CopyOutcome copy(const std::string& below) { return copier().copyItem(from(below), to(below), _witness); }
    ItemCopyService& copier() {
        _copier = _ground->copier(_capabilities);
        return *_copier;
    }
    [[nodiscard]] TreeSnapshot source() { return snapshotTree(_files, _contents, _ground->root() + "/from"); }
    [[nodiscard]] TreeSnapshot made() { return snapshotTree(_files, _contents, _ground->root() + "/to"); }
    [[nodiscard]] std::vector<std::string> madePaths() { return pathsOf(_files, _contents, _ground->root() + "/to"); }

    std::unique_ptr<FileGround> _ground = GetParam().make();
    FileService& _files = _ground->files();
    FileContents& _contents = _ground->contents();
    DestinationCapabilities _capabilities;
    std::unique_ptr<ItemCopyService> _copier;
    CopyWitness _witness;
};

INSTANTIATE_TEST_SUITE_P(Grounds, CopyContract, testing::ValuesIn(allGrounds()),
                         [](const auto& ground) { return ground.param.name; });

TEST_P(CopyContract, aFileArrivesWithContentModeAndDate) {
    build({file("f", "hello", someDate, 04750)});
    const CopyOutcome outcome = copy("f");
    EXPECT_TRUE(outcome.done);
    EXPECT_EQ(outcome.bytes, 5U);
    EXPECT_EQ(outcome.skipped, 0U);
    EXPECT_EQ(made(), source());
    EXPECT_THAT(_witness.lines(), ElementsAre("file start 5", "data progress 5", "file finish 5"));
}

TEST_P(CopyContract, anEmptyFileRaisesNoProgress) {
    build({file("f", "", someDate)});
    EXPECT_TRUE(copy("f").done);
    EXPECT_EQ(made(), source());
    EXPECT_THAT(_witness.lines(), ElementsAre("file start 0", "file finish 0"));
}

TEST_P(CopyContract, progressComesOncePerMebibyteAtMostAndAtTheEnd) {
    build({file("f", std::string(2 * mebibyte + 3, 'x'))});
    EXPECT_TRUE(copy("f").done);
    ASSERT_FALSE(_witness.progress().empty());
    EXPECT_EQ(_witness.progress().back(), 2 * mebibyte + 3);
    EXPECT_LE(_witness.progress().size(), 3U);
    EXPECT_TRUE(std::is_sorted(_witness.progress().begin(), _witness.progress().end()));
}

TEST_P(CopyContract, aLinkIsCopiedAsALink) {
    build({file("f", "x"), link("l", "f", someDate), link("dangling", "/nowhere/at all", someDate)});
    EXPECT_TRUE(copy("l").done);
    EXPECT_TRUE(copy("dangling").done);
    EXPECT_EQ(made().at("l"), source().at("l"));
    EXPECT_EQ(made().at("dangling"), source().at("dangling"));
}

TEST_P(CopyContract, aTreeArrivesWholeWithTheDatesOfItsFolders) {
    build({folder("t", someDate, 0750), folder("t/empty", someDate), folder("t/d", someDate, 0500),
           file("t/d/a", "A", someDate), file("t/d/b", "BB", someDate, 0600), link("t/l", "d/a", someDate)});
    const CopyOutcome outcome = copy("t");
    EXPECT_TRUE(outcome.done);
    EXPECT_EQ(outcome.bytes, 3U);
    EXPECT_EQ(made(), source());
}

TEST_P(CopyContract, folderEventsSurroundTheirEntries) {
    build({file("t/d/a", "A")});
    EXPECT_TRUE(copy("t").done);
    EXPECT_THAT(_witness.lines(), ElementsAre("folder start 0", "folder finish 0", "folder start 0", "folder finish 0",
                                              "file start 1", "data progress 1", "file finish 1", "cleanup start 0",
                                              "cleanup finish 0", "cleanup start 0", "cleanup finish 0"));
    EXPECT_EQ(_witness.sources().front(), from("t"));
    EXPECT_EQ(_witness.sources().at(4), from("t/d/a"));
    EXPECT_EQ(_witness.sources().back(), from("t"));
}

TEST_P(CopyContract, whatExistsAtTheDestinationIsLeftAlone) {
    build({file("f", "new"), file("t/x", "new")});
    buildTree(_files, _contents, _ground->root() + "/to", {file("f", "old"), file("t/y", "old")});
    EXPECT_FALSE(copy("f").done);
    EXPECT_FALSE(copy("t").done);
    EXPECT_EQ(_witness.errors(), (std::vector<int>{EEXIST, EEXIST}));
    EXPECT_EQ(made().at("f").content, "old");
    EXPECT_THAT(madePaths(), ElementsAre("f", "t/", "t/y"));
}

TEST_P(CopyContract, aMissingSourceOrParentIsOneError) {
    build({file("f", "x")});
    EXPECT_FALSE(copy("none").done);
    EXPECT_FALSE(copier().copyItem(from("f"), to("no/parent"), _witness).done);
    EXPECT_EQ(_witness.errors(), (std::vector<int>{ENOENT, ENOENT}));
}

TEST_P(CopyContract, skippingAFailedItemCountsAsDone) {
    build({file("f", "new")});
    buildTree(_files, _contents, _ground->root() + "/to", {file("f", "old")});
    _witness.answerErrors(CopyAnswer::skip);
    const CopyOutcome outcome = copy("f");
    EXPECT_TRUE(outcome.done);
    EXPECT_EQ(outcome.skipped, 1U);
    EXPECT_EQ(outcome.bytes, 0U);
}

TEST_P(CopyContract, aQuitAtAnyEventLeavesNothingOfTheItem) {
    build({file("t/d/a", "A"), file("t/d/b", "B"), link("t/l", "d/a")});
    EXPECT_TRUE(copy("t").done);
    const std::size_t events = _witness.lines().size();
    ASSERT_TRUE(_files.remove(to("t"), {}).ok());
    for (std::size_t at = 1; at <= events; ++at) {
        CopyWitness quitter;
        quitter.answerEvent(at, CopyAnswer::quit);
        const CopyOutcome outcome = copier().copyItem(from("t"), to("t"), quitter);
        EXPECT_FALSE(outcome.done) << "event " << at;
        EXPECT_EQ(quitter.lines().size(), at) << "nothing is raised after a quit";
        EXPECT_THAT(madePaths(), IsEmpty()) << "event " << at;
    }
}

TEST_P(CopyContract, aSkippedEntryIsLeftOutOfItsTree) {
    build({file("t/a", "A"), file("t/b", std::string(3 * mebibyte, 'b')), file("t/c", "C")});
    _witness.onEvent([](const CopyEvent& event) {
        return event.what == CopyWhat::data && event.source.ends_with("/b") ? CopyAnswer::skip : CopyAnswer::goOn;
    });
    const CopyOutcome outcome = copy("t");
    EXPECT_TRUE(outcome.done);
    EXPECT_EQ(outcome.skipped, 1U);
    EXPECT_EQ(outcome.bytes, 2U);
    EXPECT_THAT(madePaths(), ElementsAre("t/", "t/a", "t/c"));
}

TEST_P(CopyContract, aFileAboveTheLimitFailsBeforeItsFirstByte) {
    build({file("t/big", "12345"), file("t/ok", "1234")});
    _capabilities.largestFile = 4;
    const CopyOutcome outcome = copy("t");
    EXPECT_FALSE(outcome.done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{EFBIG});
    EXPECT_THAT(_witness.progress(), ElementsAre(4U));
    EXPECT_THAT(madePaths(), ElementsAre("t/", "t/ok"));
}

TEST_P(CopyContract, withoutLinksALinkIsLeftOutSilently) {
    build({file("t/f", "x"), link("t/l", "f"), link("alone", "t")});
    _capabilities.holdsLinks = false;
    const CopyOutcome tree = copy("t");
    EXPECT_TRUE(tree.done);
    EXPECT_EQ(tree.skipped, 1U);
    const CopyOutcome alone = copy("alone");
    EXPECT_TRUE(alone.done);
    EXPECT_EQ(alone.skipped, 1U);
    EXPECT_THAT(_witness.errors(), IsEmpty());
    EXPECT_THAT(madePaths(), ElementsAre("t/", "t/f"));
}

TEST_P(CopyContract, aFileThatChangesOnceIsReadAgain) {
    build({file("f", "before", someDate)});
    int changes = 0;
    _witness.onEvent([&](const CopyEvent& event) {
        if (event.what == CopyWhat::data && changes++ == 0) {
            EXPECT_TRUE(_contents.append(event.source, " and after").ok());
        }
        return CopyAnswer::goOn;
    });
    EXPECT_TRUE(copy("f").done);
    EXPECT_EQ(made(), source());
    EXPECT_EQ(changes, 2);
}

TEST_P(CopyContract, aFileThatNeverRestsGetsTheDateReadBefore) {
    build({file("f", "x", someDate)});
    int readings = 0;
    _witness.onEvent([&](const CopyEvent& event) {
        if (event.what != CopyWhat::data) return CopyAnswer::goOn;
        ++readings;
        EXPECT_TRUE(_contents.append(event.source, "x").ok());
        EXPECT_TRUE(_files.setModified(event.source, someDate.plusSeconds(readings)).ok());
        return CopyAnswer::goOn;
    });
    EXPECT_TRUE(copy("f").done);
    EXPECT_EQ(readings, 4);
    EXPECT_EQ(made().at("f").modified, someDate.plusSeconds(3));
    EXPECT_EQ(source().at("f").modified, someDate.plusSeconds(4));
    EXPECT_EQ(made().at("f").content, "xxxx");
}

TEST_P(CopyContract, aVeryDeepTreeIsCopiedAndRemoved) {
    std::string path = "t";
    for (int level = 0; level < 60; ++level) path += "/level";
    build({file(path + "/f", "deep", someDate)});
    EXPECT_TRUE(copy("t").done);
    EXPECT_EQ(made().at(path + "/f").content, "deep");
    EXPECT_TRUE(_files.remove(to("t"), {}).ok());
    EXPECT_THAT(madePaths(), IsEmpty());
}

} // namespace
} // namespace vt::test
