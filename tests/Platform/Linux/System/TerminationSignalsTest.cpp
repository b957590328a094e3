// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/TerminationSignals.h"
#include "Platform/Qt/QtMainThread.h"

#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <unistd.h>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ExitedWithCode;
using testing::KilledBySignal;

/// A child process plays the application. It receives signals, and its exit shows how it handled them.
class TerminationSignalsDeathTest : public testing::TestWithParam<int> {
protected:
    TerminationSignalsDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    /// Runs an application that counts the runs of its termination action, prints the count and exits with 0.
    [[noreturn]] static void runApplication(const std::function<void(TerminationSignals&)>& began) {
        int argumentCount = 1;
        char name[] = "test";
        char* arguments[] = {name, nullptr};
        int count = 0;
        {
            QCoreApplication application(argumentCount, arguments);
            QtMainThread mainThread;
            TerminationSignals termination(mainThread, [] { QCoreApplication::quit(); });
            termination.onWillTerminate([&count] { ++count; });
            mainThread.post([&] { began(termination); });
            QCoreApplication::exec();
        }
        std::fprintf(stderr, "terminated %d times", count);
        std::exit(0);
    }

    /// Blocks forever in the termination action.
    [[noreturn]] static void runStuckApplication(const TerminationSignals::Timing& timing, int signal,
                                                 bool twice) {
        int argumentCount = 1;
        char name[] = "test";
        char* arguments[] = {name, nullptr};
        QCoreApplication application(argumentCount, arguments);
        QtMainThread mainThread;
        const auto quit = [] { QCoreApplication::quit(); };
        TerminationSignals termination(mainThread, quit, timing);
        termination.onWillTerminate([&] {
            if (twice)
                ::kill(::getpid(), signal);
            for (;;)
                ::pause();
        });
        mainThread.post([&] { ::kill(::getpid(), signal); });
        QCoreApplication::exec();
        std::exit(1);
    }

    /// Sends a signal to this process and waits until the object has taken it.
    static void sendAndAwait(int signal) {
        ::kill(::getpid(), signal);
        const auto isPending = [signal] {
            sigset_t pending;
            return ::sigpending(&pending) == 0 && ::sigismember(&pending, signal) == 1;
        };
        if (!waitUntil([&] { return !isPending(); }))
            std::abort();
    }
};

TEST_P(TerminationSignalsDeathTest, EndsTheApplicationInOrder) {
    EXPECT_EXIT(runApplication([](TerminationSignals&) { ::kill(::getpid(), GetParam()); }),
                ExitedWithCode(0), "^terminated 1 times$");
}

TEST_P(TerminationSignalsDeathTest, TakesItsCourseWhenTheMainThreadIsStuck) {
    EXPECT_EXIT(runStuckApplication({.patience = 30ms}, GetParam(), false), KilledBySignal(GetParam()), "");
}

TEST_P(TerminationSignalsDeathTest, TakesItsCourseWhenItComesTwice) {
    EXPECT_EXIT(runStuckApplication({.grace = 0ms, .patience = 10min}, GetParam(), true),
                KilledBySignal(GetParam()), "");
}

TEST_P(TerminationSignalsDeathTest, OthersThatComeWithItDoNotCutItsAction) {
    const auto run = [] {
        runApplication([](TerminationSignals& termination) {
            termination.onWillTerminate([] {
                for (const int signal : {SIGHUP, SIGTERM, SIGINT, SIGHUP, SIGTERM})
                    sendAndAwait(signal);
                std::fprintf(stderr, "the action ran to its end, ");
            });
            ::kill(::getpid(), GetParam());
        });
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^the action ran to its end, terminated 0 times$");
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsDeathTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(TerminationSignalsDeathTest, ItsCourseLeadsThroughTheHandlerThatIsInstalled) {
    const auto runWithHandler = [] {
        std::signal(SIGTERM, [](int) { ::_exit(42); });
        runStuckApplication({.patience = 30ms}, SIGTERM, false);
    };
    EXPECT_EXIT(runWithHandler(), ExitedWithCode(42), "");
}

TEST_F(TerminationSignalsDeathTest, ASignalBeforeTheEventLoopIsNotLost) {
    const auto run = [] {
        sigset_t set;
        ::sigemptyset(&set);
        ::sigaddset(&set, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
        ::kill(::getpid(), SIGTERM);
        runApplication([](TerminationSignals&) {});
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^terminated 1 times$");
}

TEST_F(TerminationSignalsDeathTest, AnIgnoredHangupStaysWithoutEffect) {
    const auto run = [] {
        std::signal(SIGHUP, SIG_IGN);
        runApplication([](TerminationSignals& termination) {
            termination.onWillTerminate([] { std::fprintf(stderr, "by the second signal, "); });
            ::kill(::getpid(), SIGHUP);
            ::kill(::getpid(), SIGTERM);
        });
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^by the second signal, terminated 0 times$");
}

TEST_F(TerminationSignalsDeathTest, AnInterruptThatABackgroundJobIgnoresCounts) {
    const auto run = [] {
        std::signal(SIGINT, SIG_IGN);
        runApplication([](TerminationSignals&) { ::kill(::getpid(), SIGINT); });
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^terminated 1 times$");
}

TEST_F(TerminationSignalsDeathTest, AnApplicationThatQuitsByItselfRunsNoAction) {
    EXPECT_EXIT(runApplication([](TerminationSignals&) { QCoreApplication::quit(); }), ExitedWithCode(0),
                "^terminated 0 times$");
}

} // namespace
} // namespace vello
