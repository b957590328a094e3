// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CrashGuard.h"

#include "support/FakeAudioHardware.h"
#include "support/VirtualMainThread.h"

#include <array>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Pair = std::pair<AudioObjectID, AudioObjectID>;

std::vector<Pair> usedSlots(const CrashGuardRegistry& registry) {
    std::vector<Pair> used;
    for (std::size_t i = 0; i < CrashGuardRegistry::slotCount; ++i)
        if (registry.aggregateSlot(i) != 0 || registry.tapSlot(i) != 0)
            used.emplace_back(registry.aggregateSlot(i), registry.tapSlot(i));
    return used;
}

TEST(CrashGuardRegistry, ReusesTheFirstFreeSlot) {
    CrashGuardRegistry registry;
    registry.add(7, 8);
    registry.add(9, 10);
    registry.remove(7, 8);
    EXPECT_EQ(registry.aggregateSlot(0), 0U);
    EXPECT_EQ(registry.tapSlot(0), 0U);
    registry.add(11, 12);
    EXPECT_EQ(registry.aggregateSlot(0), 11U);
    EXPECT_EQ(registry.tapSlot(0), 12U);
    EXPECT_THAT(usedSlots(registry), ElementsAre(Pair(11, 12), Pair(9, 10)));
}

TEST(CrashGuardRegistry, RemovesOnlyTheWholePair) {
    CrashGuardRegistry registry;
    registry.add(7, 8);
    registry.remove(7, 99);
    registry.remove(99, 8);
    EXPECT_THAT(usedSlots(registry), ElementsAre(Pair(7, 8)));
}

TEST(CrashGuardRegistry, TakesNothingMoreWhenFull) {
    CrashGuardRegistry registry;
    for (AudioObjectID i = 1; i <= CrashGuardRegistry::slotCount; ++i)
        registry.add(i, 1000 + i);
    const auto before = usedSlots(registry);
    ASSERT_EQ(before.size(), CrashGuardRegistry::slotCount);
    registry.add(500, 501);
    EXPECT_EQ(usedSlots(registry), before);
    registry.remove(500, 501);
    EXPECT_EQ(usedSlots(registry), before);
}

TEST(CrashGuardRegistry, StaysWholeWhenThreadsUseItAtOnce) {
    CrashGuardRegistry registry;
    std::vector<std::thread> threads;
    for (AudioObjectID owner = 1; owner <= 4; ++owner)
        threads.emplace_back([&registry, owner] {
            for (AudioObjectID i = 1; i < 500; ++i) {
                registry.add(owner * 1000 + i, i);
                registry.remove(owner * 1000 + i, i);
            }
            registry.add(owner, owner);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(usedSlots(registry),
                testing::UnorderedElementsAre(Pair(1, 1), Pair(2, 2), Pair(3, 3), Pair(4, 4)));
}

// Each signal is raised in its own child process, which reports through a pipe what it destroyed.

struct Destroyed {
    char kind;
    AudioObjectID object;
    friend bool operator==(const Destroyed&, const Destroyed&) = default;
};
void PrintTo(const Destroyed& destroyed, std::ostream* stream) {
    *stream << destroyed.kind << destroyed.object;
}

struct ChildEnd {
    std::vector<Destroyed> destroyed;
    int waitStatus = 0;
};

std::vector<Destroyed> readReports(int fileDescriptor) {
    std::vector<Destroyed> reports;
    std::array<char, 1 + sizeof(AudioObjectID)> message{};
    while (::read(fileDescriptor, message.data(), message.size()) == static_cast<ssize_t>(message.size())) {
        Destroyed report{message[0], 0};
        std::memcpy(&report.object, message.data() + 1, sizeof report.object);
        reports.push_back(report);
    }
    return reports;
}

template <class Body> [[noreturn]] void runChild(int reportEnd, Body body) {
    constexpr rlimit noCoreFile{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreFile);
    ::alarm(30); // ends a child that hangs
    VirtualMainThread mainThread;
    FakeAudioHardware hardware(mainThread);
    hardware.setSignalReport(reportEnd);
    body(hardware);
    ::_exit(0);
}

template <class Body> ChildEnd inChild(Body body) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    if (child == 0)
        runChild(ends[1], body);
    ::close(ends[1]);
    ChildEnd end;
    end.destroyed = readReports(ends[0]);
    ::close(ends[0]);
    EXPECT_EQ(::waitpid(child, &end.waitStatus, 0), child);
    return end;
}

bool endedBySignal(const ChildEnd& end, int signal) {
    return WIFSIGNALED(end.waitStatus) && WTERMSIG(end.waitStatus) == signal;
}

struct CrashGuardSignals : testing::TestWithParam<int> {};

TEST_P(CrashGuardSignals, DestroyAggregatesThenTapsAndEndTheProcessAsEver) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuard::install(hardware);
        CrashGuard::registerPair(21, 22);
        CrashGuard::registerPair(31, 32);
        CrashGuard::registerPair(41, 42);
        CrashGuard::unregisterPair(31, 32);
        std::raise(GetParam());
    });
    EXPECT_THAT(end.destroyed,
                ElementsAre(Destroyed{'A', 21}, Destroyed{'A', 41}, Destroyed{'T', 22}, Destroyed{'T', 42}));
    EXPECT_TRUE(endedBySignal(end, GetParam())) << "wait status " << end.waitStatus;
}

INSTANTIATE_TEST_SUITE_P(All, CrashGuardSignals,
                         testing::Values(SIGABRT, SIGSEGV, SIGBUS, SIGTRAP, SIGILL, SIGTERM, SIGINT, SIGHUP),
                         [](const auto& given) { return "Signal" + std::to_string(given.param); });

TEST(CrashGuard, AlsoAnAbortEndsTheProcessAfterCleaningUp) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuard::install(hardware);
        CrashGuard::registerPair(21, 22);
        std::abort();
    });
    EXPECT_THAT(end.destroyed, ElementsAre(Destroyed{'A', 21}, Destroyed{'T', 22}));
    EXPECT_TRUE(endedBySignal(end, SIGABRT));
}

TEST(CrashGuard, ASignalToAnyThreadCleansUp) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuard::install(hardware);
        CrashGuard::registerPair(21, 22);
        std::thread([] { std::raise(SIGTERM); }).join();
    });
    EXPECT_THAT(end.destroyed, ElementsAre(Destroyed{'A', 21}, Destroyed{'T', 22}));
    EXPECT_TRUE(endedBySignal(end, SIGTERM));
}

TEST(CrashGuard, NeverWaitsForTheRegistry) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuardRegistry registry;
        registry.add(21, 22);
        registry.destroyAllInSignalHandler(hardware); // keeps the lock
        registry.destroyAllInSignalHandler(hardware);
    });
    EXPECT_THAT(end.destroyed,
                ElementsAre(Destroyed{'A', 21}, Destroyed{'T', 22}, Destroyed{'A', 21}, Destroyed{'T', 22}));
    EXPECT_TRUE(WIFEXITED(end.waitStatus));
}

TEST(CrashGuard, LeavesABrokenPipeToTheProgram) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuard::install(hardware);
        CrashGuard::registerPair(21, 22);
        std::raise(SIGPIPE);
    });
    EXPECT_THAT(end.destroyed, IsEmpty());
    EXPECT_TRUE(endedBySignal(end, SIGPIPE));
}

TEST(CrashGuard, InstallingClearsTheRegistryOnlyTheFirstTime) {
    const ChildEnd end = inChild([](FakeAudioHardware& hardware) {
        CrashGuard::registerPair(1, 2);
        CrashGuard::install(hardware);
        if (!usedSlots(CrashGuard::registry()).empty())
            ::_exit(1);
        CrashGuard::registerPair(21, 22);
        VirtualMainThread mainThread;
        FakeAudioHardware other(mainThread);
        CrashGuard::install(other);
        std::raise(SIGTERM);
    });
    EXPECT_THAT(end.destroyed, ElementsAre(Destroyed{'A', 21}, Destroyed{'T', 22}));
    EXPECT_TRUE(endedBySignal(end, SIGTERM));
}

} // namespace
} // namespace vello
