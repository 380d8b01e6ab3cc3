// What every store of preferences promises.
#include "platform/fake/FakePreferences.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxPreferences.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>

namespace vt {
namespace {

constexpr auto any = PreferenceHost::any;
constexpr auto current = PreferenceHost::current;
const std::string domain = "com.corvane.vantaro";

class PreferencesGround {
  public:
    virtual ~PreferencesGround() = default;
    virtual Preferences& preferences() = 0;
    virtual void restart() = 0; // what was not synchronised is gone
    virtual void refuseWrites() = 0;
};

class FakeGround : public PreferencesGround {
  public:
    Preferences& preferences() override { return _preferences; }
    void restart() override { _preferences.restart(); }
    void refuseWrites() override { _preferences.refusesToWrite = true; }

  private:
    FakePreferences _preferences;
};

class LinuxGround : public PreferencesGround {
  public:
    LinuxGround() { restart(); }
    Preferences& preferences() override { return *_preferences; }
    void restart() override {
        _preferences = std::make_unique<LinuxPreferences>(LinuxPreferences::Services{_files, _files, _lists},
                                                          _folder / "config", "0123");
    }
    // A file stands where the folder belongs: refused for every user.
    void refuseWrites() override { ASSERT_TRUE(_files.create(_folder / "config", "", 0600).ok()); }

  private:
    test::TemporaryFolder _folder;
    LinuxFiles _files;
    LinuxPropertyLists _lists;
    std::unique_ptr<LinuxPreferences> _preferences;
};

std::unique_ptr<PreferencesGround> makeFake() {
    return std::make_unique<FakeGround>();
}
std::unique_ptr<PreferencesGround> makeReal() {
    return std::make_unique<LinuxGround>();
}

class PreferencesContract : public testing::TestWithParam<std::unique_ptr<PreferencesGround> (*)()> {
  protected:
    std::unique_ptr<PreferencesGround> ground = GetParam()();
    Preferences& preferences() { return ground->preferences(); }
};

TEST_P(PreferencesContract, AMissingStoreIsEmpty) {
    EXPECT_EQ(preferences().all(domain, any), Value::Dictionary{});
    EXPECT_EQ(preferences().value(domain, current, "debug"), std::nullopt);
}

TEST_P(PreferencesContract, WhatIsSetIsReadAtOnceAndStoredWhenSynchronised) {
    preferences().set(domain, any, "debug", Value(true));
    EXPECT_EQ(preferences().value(domain, any, "debug"), Value(true));
    ground->restart();
    EXPECT_EQ(preferences().value(domain, any, "debug"), std::nullopt);
    preferences().set(domain, any, "debug", Value(true));
    EXPECT_TRUE(preferences().synchronise(domain, any));
    ground->restart();
    EXPECT_EQ(preferences().value(domain, any, "debug"), Value(true));
    EXPECT_EQ(preferences().all(domain, any), (Value::Dictionary{{"debug", Value(true)}}));
}

TEST_P(PreferencesContract, NullRemovesAKey) {
    preferences().replaceAll(domain, any, {{"a", Value(1)}, {"b", Value(2)}});
    ASSERT_TRUE(preferences().synchronise(domain, any));
    preferences().set(domain, any, "a", Value());
    EXPECT_EQ(preferences().value(domain, any, "a"), std::nullopt);
    ASSERT_TRUE(preferences().synchronise(domain, any));
    ground->restart();
    EXPECT_EQ(preferences().all(domain, any), (Value::Dictionary{{"b", Value(2)}}));
}

TEST_P(PreferencesContract, ReplacingDropsEveryOtherKey) {
    preferences().set(domain, current, "a", Value(1));
    ASSERT_TRUE(preferences().synchronise(domain, current));
    preferences().replaceAll(domain, current, {{"b", Value("x")}});
    EXPECT_EQ(preferences().value(domain, current, "a"), std::nullopt);
    preferences().set(domain, current, "c", Value(Date::fromSeconds(3)));
    ASSERT_TRUE(preferences().synchronise(domain, current));
    ground->restart();
    EXPECT_EQ(preferences().all(domain, current),
              (Value::Dictionary{{"b", Value("x")}, {"c", Value(Date::fromSeconds(3))}}));
}

TEST_P(PreferencesContract, DomainsAndHostsAreApart) {
    preferences().set(domain, any, "key", Value(1));
    preferences().set(domain, current, "key", Value(2));
    preferences().set("com.apple.iPhoto", any, "key", Value(3));
    EXPECT_EQ(preferences().value(domain, any, "key"), Value(1));
    EXPECT_EQ(preferences().value(domain, current, "key"), Value(2));
    EXPECT_EQ(preferences().value("com.apple.iPhoto", any, "key"), Value(3));
}

TEST_P(PreferencesContract, ARefusedWriteIsToldAndLosesNothing) {
    ground->refuseWrites();
    preferences().set(domain, current, "a", Value(1));
    EXPECT_FALSE(preferences().synchronise(domain, current));
    EXPECT_EQ(preferences().value(domain, current, "a"), Value(1));
}

TEST_P(PreferencesContract, NothingToWriteIsASuccess) {
    EXPECT_TRUE(preferences().synchronise(domain, any));
}

INSTANTIATE_TEST_SUITE_P(Fake, PreferencesContract, testing::Values(&makeFake));
INSTANTIATE_TEST_SUITE_P(Real, PreferencesContract, testing::Values(&makeReal));

} // namespace
} // namespace vt
