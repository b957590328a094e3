// SPDX-License-Identifier: Apache-2.0
#include "Platform/Qt/QtMainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <future>
#include <optional>
#include <thread>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class QtMainThreadTest : public testing::Test {
protected:
    /// Runs the event loop until `isDone`, for at most 10 s. Returns false on timeout.
    bool runUntil(const std::function<bool()>& isDone) {
        bool isLate = false;
        QTimer deadline;
        deadline.setSingleShot(true);
        QObject::connect(&deadline, &QTimer::timeout, [&] { isLate = true; });
        deadline.start(10'000);
        while (!isDone() && !isLate)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return !isLate;
    }
    /// Runs everything that is ready.
    void runReady() {
        bool isReached = false;
        mainThread_->post([&] { isReached = true; });
        ASSERT_TRUE(runUntil([&] { return isReached; }));
    }

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    std::optional<QtMainThread> mainThread_{std::in_place};
    std::vector<int> calls_;
};

TEST_F(QtMainThreadTest, PostedActionsRunLaterInTheirOrder) {
    for (int i = 0; i < 3; ++i)
        mainThread_->post([this, i] {
            calls_.push_back(i);
            mainThread_->post([this, i] { calls_.push_back(10 + i); });
        });
    EXPECT_THAT(calls_, IsEmpty());
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 6; }));
    EXPECT_THAT(calls_, ElementsAre(0, 1, 2, 10, 11, 12));
}

TEST_F(QtMainThreadTest, PostsFromAnyThreadRunOnTheMainThread) {
    const auto mainThread = std::this_thread::get_id();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int call = 0; call < 100; ++call)
                mainThread_->post(
                    [&] { calls_.push_back(std::this_thread::get_id() == mainThread ? 1 : 0); });
        });
    EXPECT_TRUE(runUntil([this] { return calls_.size() == 400; }));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(calls_, testing::Each(1));
}

TEST_F(QtMainThreadTest, ADelayedActionRunsOnceAndNeverEarly) {
    const auto start = mainThread_->now();
    const auto task = mainThread_->after(20ms, [&] { calls_.push_back(1); });
    ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
    EXPECT_GE(mainThread_->now() - start, 20ms);
    const auto later = mainThread_->after(25ms, [&] { calls_.push_back(2); });
    ASSERT_TRUE(runUntil([this] { return calls_.back() == 2; }));
    EXPECT_THAT(calls_, ElementsAre(1, 2));
}

TEST_F(QtMainThreadTest, ADelayOfAFractionOfAMillisecondIsNotCutShort) {
    constexpr auto delay = 1900us;
    for (std::size_t repetition = 1; repetition <= 10; ++repetition) {
        const auto start = mainThread_->now();
        const auto task = mainThread_->after(delay, [&] { calls_.push_back(1); });
        ASSERT_TRUE(runUntil([&] { return calls_.size() == repetition; }));
        EXPECT_GE(mainThread_->now() - start, delay);
    }
}

TEST_F(QtMainThreadTest, ADelayOfZeroOrLessRunsSoonButNotInsideTheCall) {
    const auto zero = mainThread_->after(0ms, [&] { calls_.push_back(0); });
    const auto negative = mainThread_->after(-1h, [&] { calls_.push_back(1); });
    EXPECT_THAT(calls_, IsEmpty());
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 2; }));
}

TEST_F(QtMainThreadTest, TheShorterDelayComesFirst) {
    const auto second = mainThread_->after(20ms, [&] { calls_.push_back(2); });
    const auto first = mainThread_->after(1ms, [&] { calls_.push_back(1); });
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 2; }));
    EXPECT_THAT(calls_, ElementsAre(1, 2));
}

TEST_F(QtMainThreadTest, AnActionThatIsPostedAgainAndAgainLeavesTimersTheirTurn) {
    bool isOver = false;
    std::function<void()> again = [&] {
        if (!isOver)
            mainThread_->post(again);
    };
    again();
    const auto task = mainThread_->after(1ms, [&] { isOver = true; });
    EXPECT_TRUE(runUntil([&] { return isOver; }));
}

TEST_F(QtMainThreadTest, AnActionIsDestroyedOnceItHasRun) {
    const auto owned = std::make_shared<int>(0);
    const auto task = mainThread_->after(0ms, [this, owned] { calls_.push_back(*owned); });
    ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
    EXPECT_EQ(owned.use_count(), 1);
}

TEST_F(QtMainThreadTest, DroppingTheHandleCancels) {
    auto dropped = mainThread_->after(1ms, [&] { calls_.push_back(1); });
    dropped.reset();
    auto replaced = mainThread_->after(1ms, [&] { calls_.push_back(2); });
    replaced = mainThread_->after(5ms, [&] { calls_.push_back(3); });
    ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
    runReady();
    EXPECT_THAT(calls_, ElementsAre(3));
}

TEST_F(QtMainThreadTest, AnActionMayDropItsOwnHandleAndStartAnother) {
    TaskHandle task;
    const auto value = std::make_shared<int>(7);
    task = mainThread_->after(1ms, [&, value] {
        task = mainThread_->after(1ms, [&] { calls_.push_back(8); });
        calls_.push_back(*value);
    });
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 2; }));
    EXPECT_THAT(calls_, ElementsAre(7, 8));
}

TEST_F(QtMainThreadTest, AHandleThatHasRunDoesNotCancelItsSuccessors) {
    std::vector<TaskHandle> finished;
    for (int i = 0; i < 5; ++i)
        finished.push_back(mainThread_->after(0ms, [&] { calls_.push_back(1); }));
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 5; }));
    std::vector<TaskHandle> successors;
    for (int i = 0; i < 5; ++i)
        successors.push_back(mainThread_->after(1ms, [&] { calls_.push_back(2); }));
    finished.clear();
    ASSERT_TRUE(runUntil([this] { return calls_.size() == 10; }));
}

TEST_F(QtMainThreadTest, ADroppedActionMayOwnOtherHandles) {
    auto inner = std::make_shared<TaskHandle>(mainThread_->after(1ms, [&] { calls_.push_back(1); }));
    auto outer = mainThread_->after(1ms, [&, inner] { calls_.push_back(2); });
    inner.reset();
    outer.reset();
    const auto last = mainThread_->after(3ms, [&] { calls_.push_back(3); });
    ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
    EXPECT_THAT(calls_, ElementsAre(3));
}

TEST_F(QtMainThreadTest, WhatStillWaitsAtTheEndIsDropped) {
    const auto owned = std::make_shared<int>(0);
    mainThread_->post([&, owned] { calls_.push_back(1); });
    auto task = mainThread_->after(0ms, [&, owned] { calls_.push_back(2); });
    mainThread_.reset();
    EXPECT_EQ(owned.use_count(), 1);
    task.reset();
    QCoreApplication::processEvents();
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(QtMainThreadTest, TheClockIsTheMonotonicOne) {
    const auto before = std::chrono::steady_clock::now();
    const auto now = mainThread_->now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::chrono::steady_clock::now());
}

} // namespace
} // namespace vello
