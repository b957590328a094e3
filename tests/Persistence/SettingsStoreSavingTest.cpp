// SPDX-License-Identifier: Apache-2.0
#include "SettingsStoreFixture.h"

#include "support/FullDisk.h"
#include "support/KilledProcess.h"
#include "support/OrdinaryUser.h"

#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Kind = SaveProblem::Kind;

/// Hands a file or folder to the user whose rights OrdinaryUser takes.
void giveToOrdinaryUser(const fs::path& path) {
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    }
}

class SettingsStoreSavingTest : public SettingsStoreTest {
protected:
    /// A folder that the ordinary user may use, with `content` as the settings file.
    void prepareForOrdinaryUser(std::string_view content) {
        writeFile(content);
        for (const fs::path& path : {folder_.path(), support_, file_.parent_path(), file_})
            giveToOrdinaryUser(path);
    }
    std::string reason() const { return store_.problem().value().value_or(SaveProblem{}).reason; }
};

// Only what has changed is written

TEST_F(SettingsStoreSavingTest, WhatIsAsLoadedIsNotWritten) {
    store_.flush(storedWithVolume(0.5));
    SettingsStore idle(folder_ / "other", mainThread_, log_);
    fs::create_directories(folder_ / "other/EQ by QUORVIN");
    fs::copy(file_, folder_ / "other/EQ by QUORVIN/settings.json");
    const auto before = fileStamp(folder_ / "other/EQ by QUORVIN/settings.json");
    const StoredSettings loaded = idle.load();
    idle.scheduleSave(loaded);
    mainThread_.advance(1s);
    idle.flush(loaded);
    EXPECT_EQ(fileStamp(folder_ / "other/EQ by QUORVIN/settings.json"), before);
}

TEST_F(SettingsStoreSavingTest, NothingIsCreatedForSettingsThatNobodyChanged) {
    store_.flush(store_.load());
    EXPECT_FALSE(fs::exists(support_));
}

TEST_F(SettingsStoreSavingTest, WhatWasJustWrittenIsNotWrittenAgain) {
    store_.flush(storedWithVolume(0.5));
    const auto before = fileStamp(file_);
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(fileStamp(file_), before);
}

TEST_F(SettingsStoreSavingTest, AChangeThatIsTakenBackBeforeItIsSavedNeedsNoWrite) {
    store_.flush(storedWithVolume(0.5));
    const auto before = fileStamp(file_);
    store_.scheduleSave(storedWithVolume(0.6));
    store_.scheduleSave(storedWithVolume(0.5));
    mainThread_.advance(1s);
    EXPECT_EQ(fileStamp(file_), before);
}

TEST_F(SettingsStoreSavingTest, AFileThatWasRemovedIsWrittenWithTheNextChange) {
    store_.flush(storedWithVolume(0.5));
    fs::remove(file_);
    store_.flush(storedWithVolume(0.6));
    EXPECT_EQ(onDisk(), storedWithVolume(0.6));
}

// What somebody else wrote

TEST_F(SettingsStoreSavingTest, WhatSomebodyElseChangedMeanwhileStays) {
    store_.flush(storedWithVolume(0.5));
    StoredSettings theirs = storedWithVolume(0.9);
    theirs.sources["org.example.browser"] = settingsWithVolume(0.1);
    theirs.userPresets = {{"Theirs", std::vector<double>(8, 2.0)}};
    {
        SettingsStore editor(folder_ / "editor", mainThread_, log_);
        editor.flush(theirs);
        fs::rename(folder_ / "editor/EQ by QUORVIN/settings.json", file_);
    }
    StoredSettings ours = storedWithVolume(0.5);
    ours.sources["org.example.game"] = settingsWithVolume(0.2);
    for (const double volume : {0.2, 0.3}) { // the second save must not forget what the first merged in
        ours.sources["org.example.game"] = settingsWithVolume(volume);
        store_.flush(ours);
        StoredSettings both = theirs;
        both.sources["org.example.game"] = settingsWithVolume(volume);
        EXPECT_EQ(onDisk(), both);
    }
}

TEST_F(SettingsStoreSavingTest, AFileThatSomebodyElseBrokeMeanwhileIsKeptAside) {
    store_.flush(storedWithVolume(0.5));
    writeFile("broken");
    store_.flush(storedWithVolume(0.6));
    EXPECT_EQ(onDisk(), storedWithVolume(0.6));
    EXPECT_EQ(readTestFile(aside_), "broken");
    EXPECT_THAT(log_.messages(), ElementsAre(StartsWith("Settings file kept as settings.json.corrupt: ")));
}

// A file that cannot be read

TEST_F(SettingsStoreSavingTest, AFileThatCannotBeReadIsSaidAndKeptAsideWhenSomethingIsSaved) {
    prepareForOrdinaryUser("precious");
    fs::permissions(file_, fs::perms::none);
    {
        const OrdinaryUser user;
        EXPECT_EQ(store_.load(), StoredSettings{});
        EXPECT_THAT(log_.messages(), IsEmpty());
        ASSERT_EQ(kindOfProblem(store_), Kind::unreadable);
        EXPECT_THAT(
            sentence(*store_.problem().value()),
            AllOf(StartsWith("not loaded, because of "), HasSubstr("settings.json: Permission denied")));

        store_.flush({});
        EXPECT_THAT(names(), ElementsAre("settings.json")) << "nothing has changed, so nothing is written";
        EXPECT_EQ(kindOfProblem(store_), Kind::unreadable);

        store_.flush(storedWithVolume(0.5));
        EXPECT_EQ(kindOfProblem(store_), std::nullopt);
        EXPECT_EQ(onDisk(), storedWithVolume(0.5));
        EXPECT_THAT(log_.messages(),
                    ElementsAre(StartsWith("Settings file kept as settings.json.unreadable: ")));
    }
    EXPECT_THAT(names(), ElementsAre("settings.json", "settings.json.unreadable"));
    EXPECT_EQ(readTestFile(file_.string() + ".unreadable"), "precious");
}

TEST_F(SettingsStoreSavingTest, AFileThatBecomesReadableIsMergedIntoInsteadOfMoved) {
    prepareForOrdinaryUser(R"({"version":1,"sources":{"a":{"volume":0.25}}})");
    fs::permissions(file_, fs::perms::none);
    const OrdinaryUser user;
    EXPECT_EQ(store_.load(), StoredSettings{});
    fs::permissions(file_, fs::perms(0600));
    store_.flush(storedWithVolume(0.5));
    StoredSettings both = storedWithVolume(0.5);
    both.sources["a"] = settingsWithVolume(0.25);
    EXPECT_EQ(onDisk(), both);
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(SettingsStoreSavingTest, AReadErrorCountsAsUnreadableAndTheLinkToItIsKept) {
    fs::create_directories(file_.parent_path());
    fs::create_symlink("/proc/self/mem", file_); // a regular file whose first byte cannot be read
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_EQ(kindOfProblem(store_), Kind::unreadable);
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
    EXPECT_EQ(fs::read_symlink(file_.string() + ".unreadable"), "/proc/self/mem");
}

TEST_F(SettingsStoreSavingTest, ALinkToTheSettingsStaysALink) {
    writeTestFile(folder_ / "elsewhere/real.json", R"({"version":1,"sources":{}})");
    fs::create_directories(file_.parent_path());
    fs::create_symlink(folder_ / "elsewhere/real.json", file_);
    EXPECT_EQ(store_.load(), StoredSettings{});
    store_.flush(storedWithVolume(0.5));
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
}

// What is no file

using MakeObstacle = std::function<void(const fs::path&)>;
class ObstacleInPlaceOfSettings : public SettingsStoreSavingTest,
                                  public testing::WithParamInterface<MakeObstacle> {};

TEST_P(ObstacleInPlaceOfSettings, StaysAndIsSaidUntilItIsGone) {
    fs::create_directories(file_.parent_path());
    GetParam()(file_);
    const auto type = fs::status(file_).type();
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_EQ(kindOfProblem(store_), Kind::unreadable);
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(kindOfProblem(store_), Kind::other);
    EXPECT_THAT(reason(), StartsWith(file_.string() + " is "));
    mainThread_.advance(10min);
    EXPECT_EQ(fs::status(file_).type(), type);
    EXPECT_THAT(names(), ElementsAre("settings.json"));
    EXPECT_EQ(log_.lines().size(), 1U) << "a retry that fails in the same way is not logged";

    fs::remove_all(file_);
    mainThread_.advance(60s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
}

INSTANTIATE_TEST_SUITE_P(
    SettingsStoreSavingTest, ObstacleInPlaceOfSettings,
    testing::Values(MakeObstacle([](const fs::path& place) { fs::create_directories(place / "occupied"); }),
                    MakeObstacle([](const fs::path& place) { ASSERT_EQ(::mkfifo(place.c_str(), 0600), 0); }),
                    MakeObstacle([](const fs::path& place) { fs::create_symlink("/dev/null", place); })));

// Trying again

TEST_F(SettingsStoreSavingTest, AFailedSaveIsTriedAgainLessAndLessOften) {
    writeTestFile(support_, "a file is in the way");
    store_.flush(storedWithVolume(0.5));
    ASSERT_TRUE(store_.problem().value());
    EXPECT_THAT(sentence(*store_.problem().value()), StartsWith("not saved, because "));
    std::size_t tries = mainThread_.runTaskCount();
    for (const auto delay : {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
        mainThread_.advance(delay - 1ms);
        EXPECT_EQ(mainThread_.runTaskCount(), tries) << delay.count();
        mainThread_.advance(1ms);
        EXPECT_EQ(mainThread_.runTaskCount(), ++tries) << delay.count();
    }
    EXPECT_EQ(log_.lines().size(), 1U);

    fs::remove(support_);
    mainThread_.advance(60s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
    EXPECT_EQ(mainThread_.pendingTaskCount(), 0U);
}

TEST_F(SettingsStoreSavingTest, ANewChangeReplacesWhatIsTriedAgain) {
    writeTestFile(support_, "a file is in the way");
    store_.flush(storedWithVolume(0.5));
    store_.scheduleSave(storedWithVolume(0.6));
    fs::remove(support_);
    mainThread_.advance(500ms);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.6));
    EXPECT_EQ(mainThread_.pendingTaskCount(), 0U);
}

TEST_F(SettingsStoreSavingTest, TheProblemIsPublished) {
    std::vector<bool> seen;
    const auto observation =
        store_.problem().observe([&](const auto& problem) { seen.push_back(problem.has_value()); });
    writeTestFile(support_, "a file is in the way");
    store_.flush(storedWithVolume(0.5));
    fs::remove(support_);
    mainThread_.advance(1s);
    EXPECT_THAT(seen, ElementsAre(true, false));
}

// Disks and folders that refuse

TEST_F(SettingsStoreSavingTest, AFileThatMayNotGrowKeepsTheOldContentAndIsSaid) {
    store_.flush(storedWithVolume(0.5));
    StoredSettings large = storedWithVolume(0.6);
    large.userPresets.assign(200, {"a preset", std::vector<double>(8, 1.0)});
    {
        const FullDisk disk(4096);
        store_.flush(large);
        EXPECT_EQ(kindOfProblem(store_), Kind::diskFull);
    }
    EXPECT_THAT(names(), ElementsAre("settings.json"));
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
    mainThread_.advance(1s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), large);
}

TEST_F(SettingsStoreSavingTest, AReadOnlyFolderKeepsTheOldContentAndIsSaid) {
    store_.flush(storedWithVolume(0.5));
    for (const fs::path& path : {folder_.path(), support_, file_.parent_path(), file_})
        giveToOrdinaryUser(path);
    fs::permissions(file_.parent_path(), fs::perms(0500));
    const OrdinaryUser user;
    store_.flush(storedWithVolume(0.6));
    EXPECT_EQ(kindOfProblem(store_), Kind::notPermitted);
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
    fs::permissions(file_.parent_path(), fs::perms(0700));
    mainThread_.advance(1s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(onDisk(), storedWithVolume(0.6));
}

TEST_F(SettingsStoreSavingTest, ACorruptFileInAReadOnlyFolderIsNotReplaced) {
    prepareForOrdinaryUser("corrupt");
    fs::permissions(file_.parent_path(), fs::perms(0500));
    const OrdinaryUser user;
    EXPECT_EQ(store_.load(), StoredSettings{});
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(kindOfProblem(store_), Kind::notPermitted);
    EXPECT_EQ(fileContent(), "corrupt");
    fs::permissions(file_.parent_path(), fs::perms(0700));
    mainThread_.advance(1s);
    EXPECT_EQ(kindOfProblem(store_), std::nullopt);
    EXPECT_EQ(readTestFile(aside_), "corrupt");
    EXPECT_EQ(onDisk(), storedWithVolume(0.5));
}

/// Puts a file system of 64 KiB in the place of `folder`, for this process alone. Returns false where that is
/// not permitted.
bool mountSmallDisk(const fs::path& folder) {
    const int namespaces = CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
    return ::unshare(namespaces) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") == 0;
}

/// Writes until nothing more fits.
void fillDisk(const fs::path& file) {
    const Descriptor filler(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const std::string page(4096, 'x');
    while (writeAll(filler.number(), page)) {
    }
}

constexpr int kNotPermitted = 77;

TEST_F(SettingsStoreSavingTest, AFullDiskKeepsTheOldContentAndIsSaidUntilThereIsSpace) {
    const pid_t child = ::fork();
    if (child == 0) {
        // The assertions' failures go to standard error; the exit status tells the test.
        if (!mountSmallDisk(folder_.path()))
            ::_exit(kNotPermitted);
        store_.flush(storedWithVolume(0.5));
        EXPECT_EQ(kindOfProblem(store_), std::nullopt);
        fillDisk(folder_ / "filler");
        store_.flush(storedWithVolume(0.6));
        EXPECT_EQ(kindOfProblem(store_), Kind::diskFull);
        EXPECT_THAT(reason(), HasSubstr("No space left on device"));
        EXPECT_EQ(onDisk(), storedWithVolume(0.5));
        EXPECT_THAT(names(), ElementsAre("settings.json"));
        fs::remove(folder_ / "filler");
        mainThread_.advance(1s);
        EXPECT_EQ(kindOfProblem(store_), std::nullopt);
        EXPECT_EQ(onDisk(), storedWithVolume(0.6));
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNotPermitted)
        GTEST_SKIP() << "this machine does not permit mounting";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(SettingsStoreSavingTest, AKillAtAnyMomentOfASaveLeavesTheOldContentOrTheNew) {
    const StoredSettings before = storedWithVolume(0.5);
    const StoredSettings after = storedWithVolume(0.6);
    const auto loadAndSave = [&] {
        SettingsStore store(support_, mainThread_, log_);
        (void)store.load();
        store.flush(after);
    };
    SettingsStore(support_, mainThread_, log_).flush(before);
    const std::string content = fileContent();
    int kills = 0;
    int newSeen = 0;
    for (;; ++kills) {
        writeFile(content);
        if (!isKilledAfter(kills, loadAndSave))
            break;
        SettingsStore next(support_, mainThread_, log_);
        const StoredSettings loaded = next.load();
        ASSERT_TRUE(loaded == before || loaded == after) << "after " << kills << " steps";
        ASSERT_EQ(kindOfProblem(next), std::nullopt) << "the lock ended with the process";
        ASSERT_THAT(names(), ElementsAre("settings.json")) << "the temporary file is removed";
        newSeen += loaded == after ? 1 : 0;
    }
    EXPECT_EQ(onDisk(), after);
    EXPECT_GT(kills, 30) << "the child was not traced through the save";
    EXPECT_GT(newSeen, 0);
    EXPECT_LT(newSeen, kills);
}

// Temporary files of processes that died

TEST_F(SettingsStoreSavingTest, LeftoversOfAKilledSaveAreRemovedAtStart) {
    writeFile(R"({"version":1,"sources":{}})");
    for (const char* name : {".settings.json.aB3xY9", ".settings.json.backup1", "settings.json.aB3xY9"})
        writeTestFile(file_.parent_path() / name, "rest");
    fs::create_directories(file_.parent_path() / ".settings.json.folder");
    (void)store_.load();
    EXPECT_THAT(names(), ElementsAre(".settings.json.backup1", ".settings.json.folder", "settings.json",
                                     "settings.json.aB3xY9"));
}

TEST_F(SettingsStoreSavingTest, WhatTheOwnerMayBeWritingIsNoLeftover) {
    store_.flush(storedWithVolume(0.5));
    writeTestFile(file_.parent_path() / ".settings.json.aB3xY9", "rest");
    (void)onDisk();
    EXPECT_THAT(names(), ElementsAre(".settings.json.aB3xY9", "settings.json"));
}

} // namespace
} // namespace vello
