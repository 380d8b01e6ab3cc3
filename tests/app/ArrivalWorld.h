// What the tests of drives that come and go have in common: disk descriptions, and the arrival of an application on
// fakes.
#pragma once

#include "AppWorld.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vt::test {

using Lines = std::vector<std::string>;
using Keys = std::vector<std::string>;

inline Value::Dictionary diskAt(const std::string& mountPoint, const std::string& key) {
    Value::Dictionary description;
    description.insert_or_assign(diskdescription::volumePath, mountPoint);
    description.insert_or_assign(diskdescription::mediaBsdName, key);
    description.insert_or_assign(diskdescription::deviceVendor, std::string("Talmont"));
    return description;
}

inline Value::Dictionary without(Value::Dictionary description, const char* key) {
    description.erase(key);
    return description;
}

class ArrivalTest : public ::testing::Test {
  protected:
    void SetUp() override { world.start(); }
    // Mounted for the volume service, without a word to the application.
    void mountSilently(const std::string& key = "disk8s1", const FakeMount& volume = AppWorld::family()) {
        world.volumes.stopObserving();
        world.mount(AppWorld::stick, key, volume);
    }
    AppWorld world;
    DriveArrival& arrival() { return world.app->arrival(); }
};

} // namespace vt::test
