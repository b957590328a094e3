// SPDX-License-Identifier: Apache-2.0
// What people hear when VELLO stands still.
#include "EightPlayersTest.h"
#include "ProcessUsage.h"

#include <algorithm>
#include <iostream>

#include <sys/ptrace.h>
#include <sys/wait.h>

namespace vello::session {
namespace {

constexpr auto directWithin = 4s;
constexpr auto againWithin = 2s;

/// Holds one thread of a process still, as a debugger does, as long as it lives.
class HeldThread {
public:
    explicit HeldThread(pid_t thread) : thread_(thread) {
        EXPECT_EQ(::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr), 0);
        EXPECT_EQ(::ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr), 0);
        EXPECT_EQ(::waitpid(thread, nullptr, __WALL), thread);
    }
    ~HeldThread() { ::ptrace(PTRACE_DETACH, thread_, nullptr, nullptr); }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

private:
    pid_t thread_;
};

class VelloFreezes : public EightPlayersTest {
protected:
    void SetUp() override {
        openSession();
        writeSettings(session(), {{systemSource, {.volume = 0.5}}});
        playEight();
        startVello();
        ASSERT_TRUE(awaitAll(tapped));
        awaitGuard();
    }
    /// The thread of VELLO that waits most often: once a cycle of the graph for each tap. Its name is another
    /// one in each version of PipeWire.
    pid_t dataThread() {
        const auto counts = waits(vello().pid());
        const auto busiest =
            std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
        return std::stoi(busiest->first);
    }
    void expectDirectSoon() {
        const auto moment = std::chrono::steady_clock::now();
        EXPECT_TRUE(awaitAll(direct, directWithin));
        report("heard directly after", moment);
        EXPECT_EQ(wrongFramesSince(moment), 0U) << "heard on an output that is not the application's own";
    }
    void expectTappedSoon() {
        const auto moment = std::chrono::steady_clock::now();
        EXPECT_TRUE(awaitAll(tapped, againWithin));
        report("heard with their settings after", moment);
    }
    /// How often VELLO says that it has stood still.
    int confessions() {
        const std::string said = vello().output();
        int count = 0;
        for (auto at = said.find("Stood still"); at != std::string::npos;
             at = said.find("Stood still", at + 1))
            ++count;
        return count;
    }

private:
    static void report(const char* what, std::chrono::steady_clock::time_point moment) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
        std::cout << what << " " << elapsed.count() << " s\n";
    }
};

TEST_F(VelloFreezes, andItsApplicationsAreHeardAllTheSame) {
    vello().signal(SIGSTOP);
    expectDirectSoon();
    vello().signal(SIGCONT);
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
    stopVello();
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

TEST_F(VelloFreezes, andIsKilledThen) {
    vello().signal(SIGSTOP);
    expectDirectSoon();
    vello().signal(SIGKILL);
    ASSERT_TRUE(vello().waitForExit(5s));
    expectNothingLeft();
    EXPECT_TRUE(awaitAll(direct));
}

TEST_F(VelloFreezes, inItsDataThreadAlone) {
    {
        const HeldThread held(dataThread());
        expectDirectSoon();
    }
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
}

TEST_F(VelloFreezes, inItsMainThreadAlone) {
    {
        const HeldThread held(vello().pid());
        expectDirectSoon();
    }
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
}

TEST_F(VelloFreezes, withTheWholeSessionAndNobodyTakesItForDead) {
    signalAll(SIGSTOP);
    // Longer than a frozen VELLO is given.
    ASSERT_FALSE(vello().waitForExit(3s));
    signalAll(SIGCONT);
    ASSERT_TRUE(awaitAll(tapped));
    monitor("output-a").record(3 * 48000);
    EXPECT_TRUE(awaitAll(tapped));
    EXPECT_EQ(confessions(), 0);
}

} // namespace
} // namespace vello::session
