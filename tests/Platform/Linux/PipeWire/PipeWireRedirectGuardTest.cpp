// SPDX-License-Identifier: Apache-2.0
// The guarded process's side, with misbehaving programs in place of the guard.
#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"

#include "Foundation/Descriptor.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

namespace vello {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class PipeWireRedirectGuardTest : public testing::Test {
protected:
    PipeWireRedirectGuardTest() {
        EXPECT_EQ(::mkfifo(wordsOfGuards_.c_str(), 0600), 0);
        words_ = Descriptor(::open(wordsOfGuards_.c_str(), O_RDWR | O_CLOEXEC));
    }
    /// A program that runs this shell script; the test reads its standard output.
    std::filesystem::path guardThat(const std::string& script) const {
        const auto file = folder_ / "guard";
        writeTestFile(file, "#!/bin/sh\nexec > " + wordsOfGuards_.string() + "\n" + script + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file;
    }
    std::filesystem::path missingProgram() const { return folder_ / "missing"; }
    /// The output of the guards up to and including the `count`th occurrence of `word`, or less on timeout.
    std::string awaitWord(const std::string& word, int count = 1) const {
        std::string text;
        pollfd readable{words_.number(), POLLIN, 0};
        std::size_t end = 0;
        while (count > 0 && ::poll(&readable, 1, 10'000) == 1) {
            std::array<char, 4096> part{};
            const auto size = ::read(words_.number(), part.data(), part.size());
            text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
            for (auto at = text.find(word, end); count > 0 && at != std::string::npos;
                 at = text.find(word, end)) {
                end = at + word.size();
                --count;
            }
        }
        return text.substr(0, end);
    }

private:
    TemporaryFolder folder_;
    const std::filesystem::path wordsOfGuards_ = folder_ / "words";
    Descriptor words_;
};

TEST_F(PipeWireRedirectGuardTest, GoesWithoutAGuardWhereItsProgramIsMissing) {
    const auto start = Clock::now();
    {
        PipeWireRedirectGuard guard(missingProgram());
        guard.watch(true);
        guard.beatOnMainThread();
        guard.giveBackInSignalHandler();
        EXPECT_FALSE(guard.isGivenUp());
        EXPECT_FALSE(guard.mayTakeAgain());
    }
    EXPECT_LT(Clock::now() - start, 1s);
}

TEST_F(PipeWireRedirectGuardTest, StartsAnotherOneForEachThatEnds) {
    const PipeWireRedirectGuard guard(guardThat("echo started"));
    EXPECT_EQ(awaitWord("started\n", 4), "started\nstarted\nstarted\nstarted\n");
}

TEST_F(PipeWireRedirectGuardTest, StaysWithItsOwnGuardAfterAnUpgrade) {
    const auto program = guardThat("echo old");
    const PipeWireRedirectGuard guard(program);
    ASSERT_EQ(awaitWord("old\n"), "old\n");
    std::filesystem::remove(program);
    guardThat("echo new");
    EXPECT_EQ(awaitWord("old\n", 3), "old\nold\nold\n");
}

TEST_F(PipeWireRedirectGuardTest, DoesNotWaitForEverForAGuardThatStays) {
    Clock::time_point start;
    {
        const PipeWireRedirectGuard guard(guardThat("echo started; exec sleep 1000"));
        ASSERT_NE(awaitWord("started"), "");
        start = Clock::now();
    }
    EXPECT_LT(Clock::now() - start, 5s);
}

TEST_F(PipeWireRedirectGuardTest, HandsNothingToTheGuardButWhatBothShareAndTheHeldConnection) {
    const PipeWireRedirectGuard guard(guardThat("ls -l /proc/$$/fd; echo listed; exec sleep 1000"));
    const std::string list = awaitWord("listed");
    EXPECT_NE(list.find("memfd:vello-guard"), std::string::npos) << list;
    EXPECT_EQ(list.find("pipe:"), std::string::npos) << list;
    EXPECT_NE(list.find("socket:"), std::string::npos) << list;
    EXPECT_EQ(list.find("socket:"), list.rfind("socket:")) << list;
}

TEST_F(PipeWireRedirectGuardTest, CountsTheBeatsOfTheDataThread) {
    PipeWireRedirectGuard guard(missingProgram());
    const auto before = guard.beatsOnDataThread();
    guard.beatOnDataThread();
    EXPECT_EQ(guard.beatsOnDataThread(), before + 1);
}

} // namespace
} // namespace vello
