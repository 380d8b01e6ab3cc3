// The way of other threads' work to the main thread.
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/watch/WatchBackend.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace vt::test {
namespace {

class MailboxTest : public testing::Test {
  protected:
    FakeClock clock;
    FakeRunLoop loop{clock};
    std::shared_ptr<MainThreadMailbox> mailbox = std::make_shared<MainThreadMailbox>(loop);
    std::vector<int> done;
};

TEST_F(MailboxTest, WorkIsDoneInItsOrderWhenTheLoopTurns) {
    std::thread([&] {
        mailbox->post([&] { done.push_back(1); });
        mailbox->post([&] { done.push_back(2); });
    }).join();
    EXPECT_TRUE(done.empty());
    loop.runPending();
    EXPECT_EQ(done, (std::vector<int>{1, 2}));
}

TEST_F(MailboxTest, WhatWaitsWhenItClosesIsDroppedAsIsWhatComesLater) {
    mailbox->post([&] { done.push_back(1); });
    mailbox->close();
    mailbox->post([&] { done.push_back(2); });
    loop.runPending();
    EXPECT_TRUE(done.empty());
}

TEST_F(MailboxTest, WorkMayCloseIt) {
    mailbox->post([&] {
        done.push_back(1);
        mailbox->close();
    });
    mailbox->post([&] { done.push_back(2); });
    loop.runPending();
    EXPECT_EQ(done, std::vector<int>{1});
}

} // namespace
} // namespace vt::test
