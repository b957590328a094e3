// SPDX-License-Identifier: Apache-2.0
#include "SettingsStoreFixture.h"

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Kind = SaveProblem::Kind;
using State = SettingsLock::State;

class SettingsLockTest : public testing::Test {
protected:
    TemporaryFolder folder_;
    const fs::path file_ = folder_ / "lock";
    SettingsLock first_{file_};
    SettingsLock second_{file_};
};

TEST_F(SettingsLockTest, BelongsToOneAndNamesTheHolder) {
    EXPECT_EQ(first_.acquire(), State::held);
    EXPECT_EQ(first_.acquire(), State::held);
    EXPECT_EQ(second_.acquire(), State::heldElsewhere);
    EXPECT_FALSE(second_.isHeld());
    EXPECT_THAT(second_.holder(), StartsWith("process " + std::to_string(::getpid()) + " on "));
}

TEST_F(SettingsLockTest, IsFreeAgainWhenItsHolderEnds) {
    {
        SettingsLock shortLived(file_);
        EXPECT_EQ(shortLived.acquire(), State::held);
        EXPECT_EQ(first_.acquire(), State::heldElsewhere);
    }
    EXPECT_EQ(first_.acquire(), State::held);
}

TEST_F(SettingsLockTest, IsTakenAgainWhenItsFileWasRemoved) {
    EXPECT_EQ(first_.acquire(), State::held);
    fs::remove(file_);
    EXPECT_EQ(second_.acquire(), State::held);
    EXPECT_EQ(first_.acquire(), State::heldElsewhere) << "two may not both believe that they hold it";
}

TEST_F(SettingsLockTest, IsUnavailableWhereItsFileCannotBe) {
    EXPECT_EQ(SettingsLock(folder_ / "missing/lock").acquire(), State::unavailable);
    fs::create_directories(file_);
    EXPECT_EQ(first_.acquire(), State::unavailable);
    fs::remove(file_);
    fs::create_symlink(folder_ / "elsewhere", file_);
    EXPECT_EQ(first_.acquire(), State::unavailable);
    EXPECT_FALSE(fs::exists(folder_ / "elsewhere"));
}

TEST_F(SettingsLockTest, ASignatureOfAnyContentIsSafeOnATerminal) {
    EXPECT_EQ(first_.holder(), "");
    writeTestFile(file_, "process \x1b[2J on \xff" + std::string(10'000, 'x'));
    EXPECT_THAT(first_.holder(), testing::Not(HasSubstr("\x1b")));
    EXPECT_LT(first_.holder().size(), 1000U);
}

/// Two instances on one home: `store_` and `second_`.
class TwoInstancesTest : public SettingsStoreTest {
protected:
    TwoInstancesTest() {
        first_ = std::make_unique<SettingsStore>(support_, mainThread_, log_);
        first_->flush(storedWithVolume(0.5));
    }

    std::unique_ptr<SettingsStore> first_;
};

TEST_F(TwoInstancesTest, TheSecondReadsButDoesNotWriteAndSaysWhy) {
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
    ASSERT_EQ(kindOfProblem(store_), Kind::usedElsewhere);
    EXPECT_THAT(sentence(*store_.problem().value()),
                AllOf(StartsWith("not saved, because another VELLO "),
                      HasSubstr("process " + std::to_string(::getpid()) + " on ")));
    store_.scheduleSave(storedWithVolume(0.7));
    mainThread_.advance(10min);
    store_.flush(storedWithVolume(0.8));
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
    EXPECT_EQ(kindOfProblem(*first_), std::nullopt);
}

TEST_F(TwoInstancesTest, TheSecondLeavesACorruptFileToTheFirst) {
    writeFile("corrupt");
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_EQ(fileContent(), "corrupt");
}

TEST_F(TwoInstancesTest, TheSecondSavesItsChangesOnTopOfTheFirstOnesOnceThatHasEnded) {
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
    StoredSettings ours = storedWithVolume(0.5);
    ours.sources["org.example.game"] = settingsWithVolume(0.3);
    store_.scheduleSave(ours);
    first_->flush(storedWithVolume(0.9));
    mainThread_.advance(1min);
    EXPECT_EQ(onDisk(), storedWithVolume(0.9));

    first_.reset();
    mainThread_.advance(1min);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    ours.sources["org.example.player"] = settingsWithVolume(0.9);
    EXPECT_EQ(onDisk(), ours);
}

TEST_F(TwoInstancesTest, TheSecondWritesNothingOfItsOwnAccordWhenTheFirstEnds) {
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
    first_->flush(storedWithVolume(0.9));
    first_.reset();
    mainThread_.advance(1min);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(onDisk(), storedWithVolume(0.9));
}

TEST_F(TwoInstancesTest, AProcessThatIsKilledGivesTheSettingsFree) {
    first_.reset();
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        (void)store_.load();
        (void)!::write(ready[1], "x", 1);
        for (;;)
            ::pause();
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
    EXPECT_THAT(sentence(store_.problem().value().value_or(SaveProblem{})),
                HasSubstr("process " + std::to_string(child)));
    store_.scheduleSave(storedWithVolume(0.7));
    ::kill(child, SIGKILL);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    mainThread_.advance(1s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.7));
    ::close(ready[0]);
    ::close(ready[1]);
}

} // namespace
} // namespace vello
