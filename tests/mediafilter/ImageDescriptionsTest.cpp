#include "platform/linux/media/ImageDescriptions.h"

#include "MovieBytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace vt {
namespace {

using namespace moviebytes;

std::vector<ImageDescription> imagesIn(const std::string& file) {
    const auto read = [&file](std::uint64_t offset, std::uint8_t* to, std::size_t length) {
        if (offset > file.size() || file.size() - offset < length) return false;
        std::memcpy(to, file.data() + offset, length);
        return true;
    };
    return imageDescriptions(read, file.size());
}

// "1 avc1 640x480, 2 mp4v 320x240"
std::string shown(const std::string& file) {
    std::string text;
    for (const ImageDescription& image : imagesIn(file)) {
        if (!text.empty()) text += ", ";
        text += std::to_string(image.track) + " " + image.format.text() + " " + std::to_string(image.width) + "x" +
                std::to_string(image.height);
    }
    return text;
}

TEST(ImageDescriptions, areFoundForEachTrack) {
    const Track first{.number = 7, .descriptions = {imageDescription("avc1", 1280, 720)}};
    const Track second{.number = 3, .descriptions = {imageDescription("mp4v", 320, 240)}, .version = 1};
    EXPECT_EQ(shown(movie({first, second})), "7 avc1 1280x720, 3 mp4v 320x240");
    EXPECT_EQ(shown(movie({})), "");
}

TEST(ImageDescriptions, areTheFirstOfTheirTrack) {
    const Track two{.descriptions = {imageDescription("jpeg", 640, 480), imageDescription("avc1", 1920, 1080)}};
    EXPECT_EQ(shown(movie({two})), "1 jpeg 640x480");
    EXPECT_EQ(shown(movie({Track{}, two})), "1 jpeg 640x480"); // a track without any is left out
}

TEST(ImageDescriptions, areFoundBehindLongAtomsAndInOneThatEndsWithTheFile) {
    const std::string index = movie({Track{.descriptions = {imageDescription("avc1", 640, 480)}}});
    EXPECT_EQ(shown(longAtom("mdat", zeros(1000)) + index), "1 avc1 640x480");
    const std::string content = index.substr(index.find("moov") + 4);
    EXPECT_EQ(shown(longAtom("moov", content)), "1 avc1 640x480");
    EXPECT_EQ(shown(number(0, 4) + "moov" + content), "1 avc1 640x480"); // no length: to the end
}

TEST(ImageDescriptions, ofADamagedFileAreThoseThatAreWhole) {
    const std::string whole = movie({Track{.descriptions = {imageDescription("avc1", 640, 480)}},
                                     Track{.number = 2, .descriptions = {imageDescription("mp4v", 320, 240)}}});
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_LE(imagesIn(whole.substr(0, length)).size(), 2U) << length;
    EXPECT_EQ(shown(whole.substr(0, whole.rfind("mp4v"))), "1 avc1 640x480");
    EXPECT_EQ(shown(number(7, 4) + "moov" + whole), ""); // shorter than its own header
    EXPECT_EQ(shown(number(1, 4) + "moov" + number(~0ULL, 8) + whole), "");
    std::string overlong = whole; // of the first track: all that is left
    overlong.replace(overlong.find("trak") - 4, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(shown(overlong), "1 avc1 640x480");
}

} // namespace
} // namespace vt
