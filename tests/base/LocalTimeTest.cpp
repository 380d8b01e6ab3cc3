#include "base/LocalTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace vt {
namespace {

// Sets the time zone, and puts the old one back.
class Zone {
  public:
    Zone() {
        if (const char* before = std::getenv("TZ")) _before = before;
    }
    ~Zone() {
        if (_before)
            setenv("TZ", _before->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

    static void set(const char* zone) { setenv("TZ", zone, 1); }

  private:
    std::optional<std::string> _before;
};

std::string shown(Date date) {
    const auto local = localTime(date);
    char text[32];
    if (!local || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &*local) == 0) return "no time";
    return text;
}

TEST(LocalTime, FollowsTheZoneOfTheMoment) {
    const Zone zone;
    const Date date = Date::fromSeconds(1'369'144'987, 999'999'999);
    Zone::set("UTC0");
    EXPECT_EQ(shown(date), "2013-05-21 14:03:07");
    Zone::set("IST-5:30");
    EXPECT_EQ(shown(date), "2013-05-21 19:33:07");
    Zone::set("NZST-12");
    EXPECT_EQ(shown(date), "2013-05-22 02:03:07");
    EXPECT_EQ(shown(Date::fromSeconds(-1, 500'000'000)), "1970-01-01 11:59:59");
}

} // namespace
} // namespace vt
