// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/ServiceNotifier.h"

#include "Foundation/Descriptor.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class ServiceNotifierTest : public testing::Test {
protected:
    void start(const ServiceManager& manager) {
        notifier_.emplace(
            mainThread_, [this] { return isHealthy_; }, manager,
            [this](const std::string& message) { sent_.push_back(message); });
        notifier_->start();
    }
    /// The messages that were sent while that time passed.
    std::vector<std::string> sentWithin(MainThread::Duration duration) {
        sent_.clear();
        mainThread_.advance(duration);
        return sent_;
    }

    VirtualMainThread mainThread_;
    bool isHealthy_ = true;
    std::vector<std::string> sent_;
    std::optional<ServiceNotifier> notifier_;
};

TEST_F(ServiceNotifierTest, SaysNothingWithoutAServiceManager) {
    start({});
    EXPECT_THAT(sentWithin(1h), IsEmpty());
    EXPECT_EQ(mainThread_.pendingTaskCount(), 0U);
    notifier_.reset();
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(ServiceNotifierTest, IsReadyOnlyOnceTheLoopRuns) {
    start({.isPresent = true});
    EXPECT_THAT(sent_, IsEmpty());
    EXPECT_THAT(sentWithin(0s), ElementsAre("READY=1"));
}

TEST_F(ServiceNotifierTest, DoesNotBeatForAManagerThatDoesNotWatch) {
    start({.isPresent = true});
    EXPECT_THAT(sentWithin(1h), ElementsAre("READY=1"));
    EXPECT_EQ(mainThread_.pendingTaskCount(), 0U);
}

TEST_F(ServiceNotifierTest, BeatsThreeTimesWithinTheTimeout) {
    start({.isPresent = true, .watchdogTimeout = 6s});
    EXPECT_THAT(sentWithin(0s), ElementsAre("READY=1", "WATCHDOG=1"));
    const auto beats = sentWithin(6s);
    EXPECT_EQ(beats.size(), 3U);
    EXPECT_THAT(beats, Each("WATCHDOG=1"));
    EXPECT_THAT(sentWithin(1999ms), IsEmpty()) << "no more often than needed";
}

TEST_F(ServiceNotifierTest, IsSilentWhileAnotherThreadIsStuck) {
    start({.isPresent = true, .watchdogTimeout = 6s});
    mainThread_.advance(0s);
    isHealthy_ = false;
    EXPECT_THAT(sentWithin(1h), IsEmpty());
}

TEST_F(ServiceNotifierTest, BeatsInTimeAfterAShortFreeze) {
    start({.isPresent = true, .watchdogTimeout = 6s});
    mainThread_.advance(0s);
    // Just before a beat is due the process freezes, for most of the timeout. When it goes on, it needs a
    // moment.
    isHealthy_ = false;
    EXPECT_THAT(sentWithin(5500ms), IsEmpty());
    isHealthy_ = true;
    EXPECT_THAT(sentWithin(400ms), ElementsAre("WATCHDOG=1"));
}

TEST_F(ServiceNotifierTest, SaysThatItIsEnding) {
    start({.isPresent = true, .watchdogTimeout = 6s});
    mainThread_.advance(0s);
    sent_.clear();
    notifier_.reset();
    EXPECT_THAT(sent_, ElementsAre("STOPPING=1"));
    EXPECT_THAT(sentWithin(1h), IsEmpty());
}

TEST_F(ServiceNotifierTest, DoesNotCallAFailedStartAnEnd) {
    start({.isPresent = true, .watchdogTimeout = 6s});
    notifier_.reset();
    EXPECT_THAT(sentWithin(1h), IsEmpty());
}

/// The socket of a service manager, and the variables that name it.
class ServiceManagerTest : public testing::Test {
protected:
    ServiceManagerTest() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        const std::string path = (folder_ / "notify").string();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        if (::bind(socket_.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::system_error(errno, std::generic_category(), path);
        ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    }
    ~ServiceManagerTest() override {
        for (const char* const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
            ::unsetenv(name);
    }

    /// The next message, or nothing.
    std::string received() const {
        std::array<char, 256> text{};
        const auto size = ::recv(socket_.number(), text.data(), text.size(), 0);
        return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : "";
    }

    /// Waits for a message, and then for the barrier behind it: a descriptor whose end the sender waits for.
    std::string awaitMessage() const {
        std::string message;
        for (bool isBarrier = false; !isBarrier;) {
            pollfd waiting{socket_.number(), POLLIN, 0};
            if (::poll(&waiting, 1, 5000) <= 0)
                return "no barrier came";
            std::array<char, 256> text{};
            iovec content{text.data(), text.size()};
            alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
            msghdr header{};
            header.msg_iov = &content;
            header.msg_iovlen = 1;
            header.msg_control = control.data();
            header.msg_controllen = control.size();
            const auto size = ::recvmsg(socket_.number(), &header, MSG_CMSG_CLOEXEC);
            const std::string_view line(text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
            isBarrier = line == "BARRIER=1";
            if (!isBarrier)
                message = line;
            const cmsghdr* const rights = CMSG_FIRSTHDR(&header);
            if (rights != nullptr && rights->cmsg_type == SCM_RIGHTS) {
                int number = -1;
                std::memcpy(&number, CMSG_DATA(rights), sizeof number);
                Descriptor{number};
            }
        }
        return message;
    }

    TemporaryFolder folder_;
    const Descriptor socket_;
};

TEST_F(ServiceManagerTest, IsAbsentForAProcessThatWasStartedInAnotherWay) {
    ::unsetenv("NOTIFY_SOCKET");
    EXPECT_FALSE(ServiceManager::fromEnvironment().isPresent);
    ::setenv("NOTIFY_SOCKET", "", 1);
    EXPECT_FALSE(ServiceManager::fromEnvironment().isPresent);
}

TEST_F(ServiceManagerTest, SaysHowLongTheProcessMayBeSilent) {
    EXPECT_TRUE(ServiceManager::fromEnvironment().isPresent);
    EXPECT_EQ(ServiceManager::fromEnvironment().watchdogTimeout, 0s);
    ::setenv("WATCHDOG_USEC", "5000000", 1);
    ::setenv("WATCHDOG_PID", std::to_string(::getpid()).c_str(), 1);
    EXPECT_EQ(ServiceManager::fromEnvironment().watchdogTimeout, 5s);
}

TEST_F(ServiceManagerTest, WatchesOnlyTheProcessThatItStarted) {
    ::setenv("WATCHDOG_USEC", "5000000", 1);
    ::setenv("WATCHDOG_PID", std::to_string(::getppid()).c_str(), 1);
    EXPECT_EQ(ServiceManager::fromEnvironment().watchdogTimeout, 0s);
}

TEST_F(ServiceManagerTest, ReceivesWhatIsSent) {
    ServiceNotifier::sendToManager("WATCHDOG=1");
    EXPECT_EQ(received(), "WATCHDOG=1");
    EXPECT_EQ(received(), "");
}

TEST_F(ServiceManagerTest, TakesAProcessWithNothingToDoForReady) {
    std::string message;
    std::thread manager([&] { message = awaitMessage(); });
    reportNothingToDo("another one runs");
    manager.join();
    EXPECT_EQ(message, "READY=1\nSTATUS=another one runs");
}

} // namespace
} // namespace vello
