// SPDX-License-Identifier: Apache-2.0
#include "support/session/ChildProcess.h"
#include "support/session/PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

namespace vello {
namespace {

using session::ChildProcess;
using session::PrivateBus;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

constexpr char kHowToAllow[] = "vello permission allow";

/// The whole program in a session with a bus and without sound.
class ConsentAtStartTest : public testing::Test {
protected:
    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& command) const {
        return std::make_unique<ChildProcess>(command, bus_.environment(), folder_ / "vello.log");
    }
    /// Starts the program on a terminal, as a user would.
    std::unique_ptr<ChildProcess> startOnTerminal() const {
        return start({"script", "--quiet", "--flush", "--command",
                      std::string(VELLO_EXECUTABLE).append(" --headless"), "/dev/null"});
    }
    std::string permission() const {
        return session::runProgram({VELLO_EXECUTABLE, "permission"}, bus_.environment(), outputs_.path());
    }

    template <class Condition> static bool await(ChildProcess& program, Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!condition())
            if (program.waitForExit(5ms) || std::chrono::steady_clock::now() > deadline)
                return condition();
        return true;
    }
    static bool writes(ChildProcess& program, const std::string& text) {
        return await(program, [&] { return program.output().find(text) != std::string::npos; });
    }

    TemporaryFolder folder_;
    TemporaryFolder outputs_;
    PrivateBus bus_{folder_.path()};
};

TEST_F(ConsentAtStartTest, SaysInTheLogHowToAllowTheCaptureWithoutATerminal) {
    const auto vello = start({VELLO_EXECUTABLE, "--headless"});
    EXPECT_TRUE(writes(*vello, kHowToAllow)) << vello->output();
    EXPECT_TRUE(vello->terminate());
    EXPECT_THAT(permission(), HasSubstr("It is not decided"));
}

TEST_F(ConsentAtStartTest, AsksOnTheTerminalAndKeepsTheAnswer) {
    const auto vello = startOnTerminal();
    ASSERT_TRUE(writes(*vello, "Allow it? [y/n] ")) << vello->output();
    EXPECT_THAT(permission(), HasSubstr("It is not decided"));
    vello->writeLine("y");
    EXPECT_TRUE(await(*vello, [&] { return permission().starts_with("VELLO may capture"); }))
        << vello->output();
    EXPECT_TRUE(vello->isRunning());
}

TEST_F(ConsentAtStartTest, DoesNotAskAgain) {
    session::runProgram({VELLO_EXECUTABLE, "permission", "deny"}, bus_.environment(), outputs_.path());
    const auto vello = startOnTerminal();
    EXPECT_TRUE(writes(*vello, kHowToAllow)) << vello->output();
    EXPECT_THAT(vello->output(), Not(HasSubstr("[y/n]")));
}

} // namespace
} // namespace vello
