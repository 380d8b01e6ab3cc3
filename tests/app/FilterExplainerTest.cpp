// The explanation of the media filter as the bus asks for it.
#include "AppWorld.h"
#include "mediafilter/MediaCharacterizer.h"
#include "platform/fake/FakeMediaProbe.h"

#include <optional>
#include <string>

namespace vt::test {
namespace {

MediaTrack trackOf(MediaTrack::Kind kind, const char* format) {
    MediaTrack track;
    track.kind = kind;
    track.format = FourCharCode::fromText(format);
    return track;
}

class FilterExplainerTest : public testing::Test {
  protected:
    FilterExplainerTest() {
        world.media = &characterizer;
        world.start();
        world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        world.controllerAt("disk8s1")->setSyncDeviceFilter(1); // Apple, high
        world.threads.bodies.clear();                          // the drive's worker has no part in this
    }
    void writeFile(const std::string& path) {
        world.makeFolders(paths::parent(path));
        ASSERT_TRUE(world.files.create(path, "x", 0644).ok());
    }
    MediaDescription film(std::int64_t width) {
        MediaTrack video = trackOf(MediaTrack::Kind::video, "avc1");
        video.width = width;
        video.height = 720;
        video.sampleCount = 250;
        video.timeScale = 25;
        video.displayDuration = 250;
        MediaTrack sound = trackOf(MediaTrack::Kind::sound, "mp4a");
        sound.sampleRate = 44'100;
        sound.channels = 2;
        MediaTrack off = trackOf(MediaTrack::Kind::sound, "ac-3");
        off.enabled = false;
        return {100, 10, {video, sound, off, MediaTrack{}}};
    }
    void ask(const std::string& path, const std::string& drive = AppWorld::stick) {
        world.app->drivesService().explain(drive, path, [this](const Result<Value::Dictionary>& reply) {
            ++answers;
            answer = reply;
        });
    }
    const Value::Dictionary& answerTo(const std::string& path) {
        const int before = answers;
        ask(path);
        world.threads.letRun();
        EXPECT_TRUE(world.loop.runUntil([&] { return answers > before; }));
        EXPECT_TRUE(answer.ok()) << answer.error().text;
        return *answer;
    }
    std::string text(const char* key) { return *answer->at(key).asString(); }
    bool flag(const char* key) { return answer->at(key).boolValue(); }

    AppWorld world;
    FakeMediaProbe probe;
    MediaCharacterizer characterizer{world.loop, probe, world.preferences, world.files, nullptr};
    Result<Value::Dictionary> answer = Value::Dictionary{};
    int answers = 0;
};

TEST_F(FilterExplainerTest, TellsWhatAFilmHoldsAndWhoDecided) {
    const std::string path = "/home/ada/Music/film.mp4";
    writeFile(path);
    probe.files[path].movie = film(1280);
    probe.files[path].roundsToRead = 2;
    const auto& reply = answerTo(path);
    EXPECT_TRUE(flag("accepted"));
    EXPECT_EQ(text("reason"), "content");
    EXPECT_EQ(text("explanation"), R"("H264 high" accepts it: its video and its sound fit)");
    EXPECT_EQ(text("path"), path);
    EXPECT_EQ(text("kind"), "file");
    EXPECT_EQ(reply.at("size").unsignedValue(), 1U);
    EXPECT_EQ(reply.at("deviceFilter").integerValue(), 1);
    EXPECT_EQ(text("deviceClass"), "Apple, high");
    EXPECT_TRUE(flag("examined"));
    EXPECT_TRUE(flag("movie"));
    EXPECT_EQ(reply.at("duration").realValue(), 10);
    const Value::Array& tracks = *reply.at("tracks").asArray();
    ASSERT_EQ(tracks.size(), 4U);
    const auto& video = *tracks[0].asDictionary();
    EXPECT_EQ(*video.at("kind").asString(), "video");
    EXPECT_EQ(*video.at("format").asString(), "avc1");
    EXPECT_EQ(*video.at("codec").asString(), "H.264");
    EXPECT_EQ(video.at("width").integerValue(), 1280);
    EXPECT_EQ(video.at("frameRate").realValue(), 25);
    const auto& off = *tracks[2].asDictionary();
    EXPECT_FALSE(off.at("enabled").boolValue());
    EXPECT_EQ(*off.at("codec").asString(), "AC-3");
    EXPECT_EQ(*tracks[3].asDictionary()->at("kind").asString(), "other");
    const Value::Array& patterns = *reply.at("patterns").asArray();
    ASSERT_EQ(patterns.size(), 1U);
    const auto& pattern = *patterns[0].asDictionary();
    EXPECT_EQ(*pattern.at("pattern").asString(), R"(.*\.mp4$)");
    EXPECT_EQ(*pattern.at("list").asString(), "movies");
    EXPECT_EQ(pattern.at("containerType").integerValue(), 2);
    EXPECT_EQ(*pattern.at("answer").asString(), "accepted");
    EXPECT_EQ(pattern.at("validators").asArray()->size(), 2U);
}

TEST_F(FilterExplainerTest, ARefusalNamesEveryList) {
    const std::string path = "/home/ada/Music/film.mp4";
    writeFile(path);
    probe.files[path].movie = film(1281);
    const auto& reply = answerTo(path);
    EXPECT_FALSE(flag("accepted"));
    EXPECT_EQ(text("reason"), "refused");
    EXPECT_EQ(text("explanation"), R"("H264 high" refuses it: 1281 x 720 pixels are more than 1280 x 720)");
    const Value::Array& patterns = *reply.at("patterns").asArray();
    ASSERT_EQ(patterns.size(), 2U);
    EXPECT_EQ(*patterns[0].asDictionary()->at("answer").asString(), "refused");
    EXPECT_EQ(*patterns[1].asDictionary()->at("list").asString(), "music");
    EXPECT_EQ(*patterns[1].asDictionary()->at("answer").asString(), "declined");
    EXPECT_EQ(probe.opened, 1); // once, however many patterns ask
}

TEST_F(FilterExplainerTest, SaysWhenNobodyLookedInside) {
    writeFile("/home/ada/Elsewhere/song.mp3");
    const auto& reply = answerTo("/home/ada/Elsewhere/song.mp3");
    EXPECT_TRUE(flag("accepted"));
    EXPECT_EQ(text("reason"), "name");
    EXPECT_FALSE(flag("examined"));
    EXPECT_EQ(reply.count("movie"), 0U);
    EXPECT_FALSE(flag("listed"));
    EXPECT_EQ(probe.opened, 0);
}

TEST_F(FilterExplainerTest, SaysWhatIsWrongInside) {
    writeFile("/home/ada/Music/text.mp4");
    probe.files["/home/ada/Music/text.mp4"].error = EINVAL;
    answerTo("/home/ada/Music/text.mp4");
    EXPECT_EQ(text("explanation"), "it is no movie that can be read");
    EXPECT_FALSE(flag("movie"));
    EXPECT_NE(text("problem"), "");
}

TEST_F(FilterExplainerTest, ASwitchThatIsOffIsNamed) {
    writeFile("/home/ada/Music/a.jpg");
    world.controllerAt("disk8s1")->setSyncPicturesState(false);
    answerTo("/home/ada/Music/a.jpg");
    EXPECT_EQ(text("reason"), "no pattern");
    EXPECT_EQ(text("explanation"),
              "no pattern of the lists that are switched on matches its name; the pictures list has "
              "a pattern for it and is switched off");
}

TEST_F(FilterExplainerTest, ErrorsAreClear) {
    ask("/home/ada/Music/a.mp4", "/media/other");
    EXPECT_EQ(answer.code(), ENOENT);
    EXPECT_EQ(answer.error().text, "\"/media/other\" is not a served drive");
    ask("Music/a.mp4");
    EXPECT_EQ(answer.code(), EINVAL);
    EXPECT_EQ(answer.error().text, "\"Music/a.mp4\" is not an absolute path");
    ask("/home/ada/Music/missing.mp4");
    world.threads.letRun();
    EXPECT_TRUE(world.loop.runUntil([&] { return answers == 3; }));
    EXPECT_EQ(answer.code(), ENXIO);
    EXPECT_EQ(answer.error().text, "\"/home/ada/Music/missing.mp4\": no such file");
}

// The threads stand still: nothing of this waits on the main thread.
TEST_F(FilterExplainerTest, LooksAtFourFilesAtMostAndWaitsForNone) {
    writeFile("/home/ada/Music/a.mp3");
    for (int i = 0; i < 4; ++i) ask("/home/ada/Music/a.mp3");
    EXPECT_EQ(answers, 0);
    ask("/home/ada/Music/a.mp3");
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(answer.code(), EBUSY);
    world.threads.letRun();
    EXPECT_TRUE(world.loop.runUntil([&] { return answers == 5; }));
    EXPECT_TRUE(answer.ok());
}

} // namespace
} // namespace vt::test
