#include "base/Result.h"
#include "base/FourCharCode.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vt {
namespace {

TEST(Result, CarriesAValueOrAnError) {
    const Result<int> good(3);
    EXPECT_TRUE(good.ok());
    EXPECT_EQ(*good, 3);
    EXPECT_EQ(good.code(), 0);
    const Result<int> bad(Error::fromErrno(ENOENT, "/a"));
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.code(), ENOENT);
    EXPECT_EQ(bad.valueOr(7), 7);
}

TEST(Result, DescribesWhatAndWhere) {
    const Error error = Error::fromErrno(ENOSPC, "/drive/a");
    EXPECT_EQ(error.describe(), "/drive/a: No space left on device");
    EXPECT_EQ(error.disposition, Disposition::skipItem);
    EXPECT_EQ(Error::fromErrno(ENODEV, "").disposition, Disposition::driveGone);
    EXPECT_EQ(Error::fromErrno(ENODEV, "").describe(), "No such device");
    EXPECT_EQ(Error::fromErrno(99999, "").text, "Unknown error 99999");
}

TEST(FourCharCode, ReadsExactlyFourBytes) {
    using namespace literals;
    EXPECT_EQ(FourCharCode::fromText("vnTR"), "vnTR"_fcc);
    EXPECT_EQ("vnTR"_fcc.value(), 0x766e5452U);
    EXPECT_EQ("vnTR"_fcc.text(), "vnTR");
    EXPECT_EQ(FourCharCode::fromText("vnT"), std::nullopt);
    EXPECT_EQ(FourCharCode::fromText("vnTRx"), std::nullopt);
}

} // namespace
} // namespace vt
