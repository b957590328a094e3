// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/HeldSockets.h"

#include "Foundation/Descriptor.h"

#include <array>
#include <optional>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vello {
namespace {

/// Two connected sockets: the process's own and its peer's.
class HeldSocketsTest : public testing::Test {
protected:
    HeldSocketsTest() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        own_ = Descriptor(ends[0]);
        other_ = Descriptor(ends[1]);
    }
    void holdAndCloseOwn() {
        held_.emplace();
        const std::array sockets{own_.number()};
        held_->hold(sockets);
        own_ = {};
    }
    bool isConnected() const {
        pollfd end{other_.number(), POLLIN, 0};
        return ::poll(&end, 1, 0) == 0;
    }

    std::optional<HeldSockets> held_;

private:
    Descriptor own_;
    Descriptor other_;
};

TEST_F(HeldSocketsTest, StayConnectedWhenTheirOwnerHasClosedThem) {
    holdAndCloseOwn();
    EXPECT_TRUE(isConnected());
}

TEST_F(HeldSocketsTest, EndWhenTheyAreLetGo) {
    holdAndCloseOwn();
    held_->letGo();
    EXPECT_FALSE(isConnected());
}

TEST_F(HeldSocketsTest, EndWithTheLastHolderOfTheChannel) {
    holdAndCloseOwn();
    {
        const Descriptor guards(::dup(held_->channelEnd()));
        held_.reset();
        EXPECT_TRUE(isConnected());
    }
    EXPECT_FALSE(isConnected());
}

TEST_F(HeldSocketsTest, CanBeHeldAgainAfterTheyWereLetGo) {
    held_.emplace();
    held_->letGo();
    holdAndCloseOwn();
    EXPECT_TRUE(isConnected());
}

} // namespace
} // namespace vello
