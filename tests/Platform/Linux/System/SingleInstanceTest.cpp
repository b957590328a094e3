// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/SingleInstance.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace vello {
namespace {

class SingleInstanceTest : public testing::Test {
protected:
    TemporaryFolder folder_;
};

TEST_F(SingleInstanceTest, IsRefusedWhileAnotherHoldsTheProof) {
    auto first = SingleInstance::acquire(folder_.path());
    ASSERT_TRUE(first);
    EXPECT_FALSE(SingleInstance::acquire(folder_.path()));
    const SingleInstance moved = std::move(*first);
    first.reset();
    EXPECT_FALSE(SingleInstance::acquire(folder_.path()));
}

TEST_F(SingleInstanceTest, IsGivenAgainAfterTheFirstHasEnded) {
    EXPECT_TRUE(SingleInstance::acquire(folder_.path()));
    EXPECT_TRUE(SingleInstance::acquire(folder_.path()));
}

TEST_F(SingleInstanceTest, IsGivenAgainAfterTheFirstWasKilled) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const auto instance = SingleInstance::acquire(folder_.path());
        const char answer = instance ? 'y' : 'n';
        (void)!::write(ready[1], &answer, 1);
        for (;;)
            ::pause();
    }
    char answer = 0;
    EXPECT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    EXPECT_FALSE(SingleInstance::acquire(folder_.path()));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(SingleInstance::acquire(folder_.path()));
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST_F(SingleInstanceTest, SessionsDoNotDisturbEachOther) {
    const TemporaryFolder other;
    const auto first = SingleInstance::acquire(folder_.path());
    EXPECT_TRUE(SingleInstance::acquire(other.path()));
}

TEST_F(SingleInstanceTest, AFolderThatIsNotThereIsAnError) {
    EXPECT_THROW((void)SingleInstance::acquire(folder_ / "missing"), std::system_error);
}

TEST_F(SingleInstanceTest, DoesNotFollowALink) {
    std::filesystem::create_symlink(folder_ / "elsewhere", folder_ / "com.quorvin.Vello.lock");
    EXPECT_THROW((void)SingleInstance::acquire(folder_.path()), std::system_error);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "elsewhere"));
}

} // namespace
} // namespace vello
