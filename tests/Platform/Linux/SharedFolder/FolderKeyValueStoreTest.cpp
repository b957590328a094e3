// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/SharedFolder/FolderKeyValueStore.h"

#include "support/KilledProcess.h"
#include "support/PumpedMainThread.h"
#include "support/RecordingSystemLog.h"
#include "support/session/OwnMounts.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <random>
#include <set>
#include <sys/mount.h>
#include <sys/stat.h>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using namespace std::chrono_literals;

constexpr char kKey[] = "presets";

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

/// What is written from now on has a later time than `file`, as when a person copies it. Waiting for a tick
/// of the clock is not enough: systems hand out times between two ticks, and the same one to several files.
void awaitTimeAfter(const fs::path& file) {
    const auto changedAt = [](const fs::path& changed) {
        struct stat status = {};
        EXPECT_EQ(::stat(changed.c_str(), &status), 0) << changed;
        return std::pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
    };
    const TemporaryFolder elsewhere;
    do {
        writeTestFile(elsewhere / "now", "");
    } while (changedAt(elsewhere / "now") <= changedAt(file));
}

/// Replaces a file as synchronizing programs do.
void carry(const fs::path& file, std::string_view content) {
    const fs::path temporary = file.parent_path() / ".carrier.tmp";
    writeTestFile(temporary, content);
    fs::rename(temporary, file);
}

/// All strings of the JSON lists in those of the folder's files that a reader would see.
std::set<std::string> everythingIn(const fs::path& folder) {
    std::set<std::string> all;
    for (const std::string& name : namesIn(folder)) {
        if (name.starts_with('.'))
            continue;
        const auto list = nlohmann::json::parse(readTestFile(folder / name), nullptr, false);
        EXPECT_TRUE(list.is_array()) << name << " is not complete";
        for (const auto& each : list)
            all.insert(each.get<std::string>());
    }
    return all;
}

class FolderKeyValueStoreTest : public testing::Test {
protected:
    /// A machine that shares the folder: a growing list of strings, merged as presets are.
    struct Machine {
        explicit Machine(FolderKeyValueStoreTest& test) : store(test.folders(), test.mainThread_, test.log_) {
            take();
            store.onDidChangeExternally([this] {
                ++changes;
                take();
            });
            store.synchronize();
        }
        void take() {
            merged = store.versions(kKey);
            for (const auto& version : merged)
                for (const auto& each : nlohmann::json::parse(version.data))
                    if (const auto text = each.get<std::string>(); known.insert(text).second)
                        list.push_back(text);
        }
        void save(const std::string& text) {
            known.insert(text);
            list.push_back(text);
            failure = store.setData(kKey, nlohmann::json(list).dump(), merged);
        }
        bool knows(const std::string& text) const { return known.contains(text); }

        FolderKeyValueStore store;
        std::vector<std::string> list;
        std::set<std::string> known;
        std::vector<KeyValueStore::Version> merged;
        std::optional<std::string> failure;
        int changes = 0;
    };

    FolderKeyValueStore::Folders folders() const { return {folder_, temporary_ / "state"}; }
    static void set(FolderKeyValueStore& store, std::string_view key, std::string_view data) {
        EXPECT_EQ(store.setData(key, data, store.versions(key)), std::nullopt);
    }
    static std::string value(FolderKeyValueStore& store, std::string_view key = kKey) {
        const auto versions = store.versions(key);
        return versions.empty() || versions.back().isCopy ? "" : versions.back().data;
    }

    /// Lets all pending changes arrive, by sending another change and waiting for it.
    void settle(Machine& machine) {
        carry(folder_ / (std::string(kKey) + ".conflict-settled"), R"(["settled"])");
        EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("settled"); }));
    }

    TemporaryFolder temporary_;
    const fs::path folder_ = temporary_ / "a/Sync";
    const fs::path file_ = folder_ / kKey;
    PumpedMainThread mainThread_;
    RecordingSystemLog log_;
};

TEST_F(FolderKeyValueStoreTest, KeepsDataInOneFileForEachKey) {
    {
        FolderKeyValueStore store(folders(), mainThread_, log_);
        EXPECT_THAT(store.versions(kKey), IsEmpty());
        set(store, kKey, "[1]");
        set(store, "other", "[2]");
        set(store, kKey, "[3]");
        EXPECT_EQ(value(store), "[3]");
    }
    FolderKeyValueStore store(folders(), mainThread_, log_);
    EXPECT_EQ(value(store), "[3]");
    EXPECT_EQ(value(store, "other"), "[2]");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre(kKey, "other"));
}

TEST_F(FolderKeyValueStoreTest, MakesASafeFileNameOfAnyKey) {
    FolderKeyValueStore store(folders(), mainThread_, log_);
    set(store, "../a b", "[1]");
    set(store, ".", "[2]");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre("%2E%2E%2Fa%20b", "%2E"));
    EXPECT_EQ(value(store, "../a b"), "[1]");
    EXPECT_THAT(store.keys("."), ElementsAre(".", "../a b"));
}

TEST_F(FolderKeyValueStoreTest, ListsTheKeysThatBeginAlike) {
    for (const char* name : {"presets", "presetsB", "presetsA", "presetsC.sync-conflict-1", "presetsD.bak",
                             ".presetsE", "pre", "holiday.jpg"})
        writeTestFile(folder_ / name, "[1]");
    FolderKeyValueStore store(folders(), mainThread_, log_);
    EXPECT_THAT(store.keys(kKey), ElementsAre("presets", "presetsA", "presetsB", "presetsC"));
}

TEST_F(FolderKeyValueStoreTest, KeepsTheDataOfThisMachineElsewhere) {
    FolderKeyValueStore store(folders(), mainThread_, log_);
    EXPECT_EQ(store.localData(kKey), std::nullopt);
    EXPECT_EQ(store.setLocalData(kKey, "[1]"), std::nullopt);
    ASSERT_TRUE(store.localData(kKey).has_value());
    EXPECT_EQ(store.localData(kKey)->data, "[1]");
    EXPECT_FALSE(store.localData(kKey)->isCopied);
    EXPECT_FALSE(fs::exists(folder_));
    fs::remove_all(temporary_ / "state");
    writeTestFile(temporary_ / "state", "a file where the folder should be");
    EXPECT_THAT(store.setLocalData(kKey, "[2]").value_or(""), StartsWith("cannot create the folder "));
}

TEST_F(FolderKeyValueStoreTest, KnowsACopiedHomeAndARestoredOne) {
    const auto store = [&](const fs::path& local) {
        return FolderKeyValueStore({folder_, local}, mainThread_, log_);
    };
    const fs::path local = temporary_ / "state";
    const auto isCopied = [&](const fs::path& folder) {
        const auto data = store(folder).localData(kKey);
        EXPECT_TRUE(data.has_value());
        return data && data->isCopied;
    };
    const auto copy = [&](const fs::path& from, const fs::path& to) {
        awaitTimeAfter(from / kKey);
        fs::copy(from, to);
        for (const std::string& name : namesIn(from))
            fs::last_write_time(to / name, fs::last_write_time(from / name));
    };
    ASSERT_EQ(store(local).setLocalData(kKey, "[1]"), std::nullopt);
    EXPECT_FALSE(isCopied(local)) << "the same one, started again";
    copy(local, temporary_ / "copy");
    EXPECT_TRUE(isCopied(temporary_ / "copy"));
    EXPECT_FALSE(isCopied(local));

    ASSERT_EQ(store(local).setLocalData(kKey, "[2]"), std::nullopt);
    EXPECT_FALSE(isCopied(local));
    fs::remove_all(local);
    copy(temporary_ / "copy", local);
    EXPECT_TRUE(isCopied(local)) << "restored";
    ASSERT_EQ(store(local).setLocalData(kKey, "[3]"), std::nullopt);
    EXPECT_FALSE(isCopied(local)) << "written here since";

    fs::remove(local / "presets.placed");
    EXPECT_TRUE(isCopied(local)) << "its writer was killed before it was done";
}

TEST_F(FolderKeyValueStoreTest, ReportsOnceThatAllFilesAreGone) {
    writeTestFile(folder_ / "presetsA", "[1]");
    writeTestFile(folder_ / "presetsB", "[2]");
    FolderKeyValueStore store(folders(), mainThread_, log_);
    int reports = 0;
    const auto read = [&] {
        for (const std::string& key : store.keys(kKey))
            store.versions(key);
    };
    read();
    store.onDidChangeExternally([&] {
        ++reports;
        read();
        store.synchronize(); // as after a save
    });
    fs::remove_all(folder_);
    store.synchronize();
    EXPECT_TRUE(mainThread_.runUntil([&] { return reports > 0; }, 2s));
    EXPECT_FALSE(mainThread_.runUntil([&] { return reports > 1; }, 100ms));
}

TEST_F(FolderKeyValueStoreTest, NoticesAFileThatAnotherProgramReplacedByRename) {
    Machine machine(*this);
    machine.save("mine");
    carry(file_, R"(["mine","theirs"])");
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("theirs"); }, 2s));
}

TEST_F(FolderKeyValueStoreTest, NoticesAFileThatWasWrittenInPlace) {
    Machine machine(*this);
    machine.save("mine");
    writeTestFile(file_, R"(["theirs"])");
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("theirs"); }, 2s));
}

TEST_F(FolderKeyValueStoreTest, DoesNotReportWhatItWroteItself) {
    Machine machine(*this);
    for (int i = 0; i < 20; ++i)
        machine.save(std::to_string(i));
    const int changes = machine.changes;
    settle(machine);
    EXPECT_EQ(machine.changes - changes, 1) << "the one that settles";
}

TEST_F(FolderKeyValueStoreTest, ReportsNothingWhenOtherFilesOfTheFolderChange) {
    Machine machine(*this);
    writeTestFile(folder_ / "holiday.jpg", "x");
    writeTestFile(folder_ / "presets.bak", R"(["backup"])");
    writeTestFile(folder_ / "presets2", R"(["other key"])");
    settle(machine);
    EXPECT_EQ(machine.changes, 1);
    EXPECT_FALSE(machine.knows("backup") || machine.knows("other key"));
}

TEST_F(FolderKeyValueStoreTest, FindsWhatChangedBeforeItLooked) {
    FolderKeyValueStore store(folders(), mainThread_, log_);
    set(store, kKey, "[1]");
    carry(file_, "[2]");
    bool isTold = false;
    store.onDidChangeExternally([&] { isTold = true; });
    EXPECT_FALSE(isTold) << "never inside a call";
    store.synchronize();
    EXPECT_FALSE(isTold) << "never inside a call";
    EXPECT_TRUE(mainThread_.runUntil([&] { return isTold; }));
}

TEST_F(FolderKeyValueStoreTest, TwoThatWriteWithoutKnowingOfEachOtherLoseNothing) {
    Machine one(*this);
    Machine two(*this);
    one.save("from one");
    two.save("from two"); // has not received the first change
    EXPECT_TRUE(mainThread_.runUntil([&] { return one.knows("from two") && two.knows("from one"); }, 2s));
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("from one", "from two"));

    Machine third(*this);
    EXPECT_TRUE(mainThread_.runUntil([&] { return third.knows("from one") && third.knows("from two"); }));
    third.save("from three");
    EXPECT_THAT(namesIn(folder_), ElementsAre(kKey)) << "the copy was taken in and is gone";
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("from one", "from two", "from three"));
}

TEST_F(FolderKeyValueStoreTest, TakesInTheConflictingCopiesOfSynchronizingPrograms) {
    writeTestFile(file_, R"(["here"])");
    writeTestFile(folder_ / "presets.sync-conflict-20260102-030405-ABCDEFG", R"(["carried"])");
    writeTestFile(folder_ / "presets (conflicted copy 2026-01-02 030405)", R"(["cloud"])");
    writeTestFile(folder_ / "presets (Anna's Conflicted Copy)", R"(["capital"])");
    writeTestFile(folder_ / "presets (conflict_on_2026-01-02)", R"(["unison"])");
    writeTestFile(folder_ / "presets (conflict #2_on_2026-01-02_was_deleted)", R"(["deleted"])");
    writeTestFile(folder_ / ".bak.0.presets", R"(["backup"])");
    writeTestFile(folder_ / "presets.0.bak", R"(["backup"])");
    writeTestFile(folder_ / ".unison.presets.8a3fc96d3a629b2749bd4d2bab155823.unison.tmp", R"(["tempor)");
    Machine machine(*this);
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.list.size() == 6; }, 2s));
    machine.save("new");
    EXPECT_THAT(namesIn(folder_),
                UnorderedElementsAre(kKey, ".bak.0.presets", "presets.0.bak",
                                     ".unison.presets.8a3fc96d3a629b2749bd4d2bab155823.unison.tmp"));
    const std::set<std::string> merged = nlohmann::json::parse(readTestFile(file_));
    EXPECT_THAT(merged, ElementsAre("capital", "carried", "cloud", "deleted", "here", "new", "unison"));
}

TEST_F(FolderKeyValueStoreTest, HandsOutTheCopiesFromTheOldestToTheNewestAndTheFileLast) {
    const auto past = fs::file_time_type::clock::now() - 1h;
    // Both ways round, because one of them may be the order in which the folder lists its files.
    for (const bool isFirstOlder : {true, false}) {
        fs::remove_all(folder_);
        writeTestFile(file_, "[0]");
        for (const int number : {1, 2, 3}) {
            const fs::path copy = folder_ / ("presets.sync-conflict-" + std::to_string(number));
            writeTestFile(copy, "[" + std::to_string(number) + "]");
            fs::last_write_time(copy, past + (isFirstOlder ? 1min : -1min) * number);
        }
        FolderKeyValueStore store(folders(), mainThread_, log_);
        using Version = KeyValueStore::Version;
        EXPECT_THAT(store.versions(kKey),
                    ElementsAre(Version{isFirstOlder ? "[1]" : "[3]", true}, Version{"[2]", true},
                                Version{isFirstOlder ? "[3]" : "[1]", true}, Version{"[0]", false}));
    }
}

TEST_F(FolderKeyValueStoreTest, LeavesWhatIsNotMergedAsACopy) {
    FolderKeyValueStore store(folders(), mainThread_, log_);
    set(store, kKey, "[1]");
    writeTestFile(folder_ / "presets.sync-conflict-1", "[2]");
    for (const char* data : {"[3]", "[4]"}) {
        EXPECT_EQ(store.setData(kKey, data, {}), std::nullopt);
    }
    EXPECT_EQ(readTestFile(folder_ / "presets.sync-conflict-1"), "[2]");
    EXPECT_EQ(readTestFile(folder_ / "presets.vello-1"), "[1]");
    EXPECT_EQ(readTestFile(folder_ / "presets.vello-2"), "[3]");
    EXPECT_EQ(readTestFile(file_), "[4]");
}

TEST_F(FolderKeyValueStoreTest, TheNewContentBecomesVisibleInOneStepAndNeverAsACopy) {
    writeTestFile(file_, R"(["old"])");
    for (int kills = 0;; ++kills) {
        const bool isKilled = isKilledAfter(kills, [&] {
            FolderKeyValueStore store(folders(), mainThread_, log_);
            set(store, kKey, R"(["new"])");
        });
        for (const std::string& name : namesIn(folder_))
            ASSERT_TRUE(name == kKey || name.starts_with('.')) << name << " after " << kills << " steps";
        if (!isKilled)
            break;
        writeTestFile(file_, R"(["old"])");
    }
    EXPECT_EQ(readTestFile(file_), R"(["new"])");
}

TEST_F(FolderKeyValueStoreTest, FollowsALinkAndKeepsThePermissions) {
    const fs::path target = temporary_ / "elsewhere/list";
    writeTestFile(target, "[1]");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_directories(folder_);
    fs::create_symlink("../../elsewhere/list", file_);
    FolderKeyValueStore store(folders(), mainThread_, log_);
    EXPECT_EQ(value(store), "[1]");
    set(store, kKey, "[2]");
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_EQ(readTestFile(target), "[2]");
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_THAT(namesIn(target.parent_path()), ElementsAre("list"));
}

TEST_F(FolderKeyValueStoreTest, AContentThatComesBackIsAChangeEachTime) {
    FolderKeyValueStore store(folders(), mainThread_, log_);
    EXPECT_EQ(value(store), ""); // from now on the key is of interest
    std::vector<std::string> arrived;
    store.onDidChangeExternally([&] { arrived.push_back(value(store)); });
    std::vector<std::string> sent;
    for (const char* data : {"[1]", "[2]", "[1]", "[3]", "[2]", "[1]"}) {
        sent.emplace_back(data);
        fs::create_directories(folder_);
        carry(file_, data);
        EXPECT_TRUE(mainThread_.runUntil([&] { return !arrived.empty() && arrived.back() == data; }, 2s));
    }
    std::erase(arrived, "");
    const auto repeated = std::ranges::unique(arrived);
    arrived.erase(repeated.begin(), repeated.end());
    EXPECT_EQ(arrived, sent);
}

TEST_F(FolderKeyValueStoreTest, DoesNotHandOutAFileThatIsStillBeingWritten) {
    writeTestFile(file_, R"(["half)");
    Machine machine(*this);
    EXPECT_THAT(machine.store.versions(kKey), IsEmpty());
    writeTestFile(file_, R"(["half","whole"])");
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("whole"); }, 2s));
}

TEST_F(FolderKeyValueStoreTest, AFileThatIsOvertakenWhileItIsBeingWrittenIsTakenInWhenItIsComplete) {
    Machine machine(*this);
    fs::create_directories(folder_);
    std::ofstream writer(file_, std::ios::binary);
    writer << R"(["slow)" << std::flush;
    machine.save("quick");
    writer << R"( writer"])" << std::flush;
    writer.close();
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("slow writer"); }, 2s));
    machine.save("last");
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("slow writer", "quick", "last"));
}

TEST_F(FolderKeyValueStoreTest, FollowsAFolderThatIsDeletedMadeAgainAndReplaced) {
    Machine machine(*this);
    machine.save("mine");
    const auto arrives = [&](const std::string& text) {
        return mainThread_.runUntil([&] { return machine.knows(text); }, 2s);
    };
    fs::remove_all(temporary_ / "a");
    writeTestFile(file_, R"(["made again"])");
    EXPECT_TRUE(arrives("made again"));
    fs::rename(temporary_ / "a", temporary_ / "b");
    writeTestFile(file_, R"(["moved away"])");
    EXPECT_TRUE(arrives("moved away"));
    writeTestFile(temporary_ / "c/Sync/presets", R"(["replaced"])");
    fs::rename(temporary_ / "a", temporary_ / "d");
    fs::rename(temporary_ / "c", temporary_ / "a");
    EXPECT_TRUE(arrives("replaced"));
    fs::rename(temporary_ / "a", temporary_ / "e");
    fs::create_directory_symlink(temporary_ / "d", temporary_ / "a");
    writeTestFile(file_, R"(["through a link"])");
    EXPECT_TRUE(arrives("through a link"));
    fs::remove(temporary_ / "a");
    fs::create_directory_symlink(temporary_ / "b", temporary_ / "a");
    writeTestFile(file_, R"(["through another link"])");
    EXPECT_TRUE(arrives("through another link"));
}

TEST_F(FolderKeyValueStoreTest, FollowsAFolderThatIsMountedAndUnmounted) {
    VELLO_NEEDS_OWN_MOUNTS(temporary_.path());
    Machine machine(*this);
    machine.save("below");
    ASSERT_EQ(::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=1m"), 0);
    writeTestFile(file_, R"(["mounted"])");
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("mounted"); }, 2s));
    machine.save("on it");
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("below", "mounted", "on it"));
    ASSERT_EQ(::umount(folder_.c_str()), 0);
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("below"));
    carry(file_, R"(["after"])");
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.knows("after"); }, 2s));
}

TEST_F(FolderKeyValueStoreTest, SaysWhatCannotBeWrittenAndGoesOn) {
    writeTestFile(temporary_ / "a", "a file where the folder should be");
    Machine machine(*this);
    machine.save("mine");
    EXPECT_THAT(machine.failure.value_or(""), StartsWith("cannot create the folder "));
    fs::remove(temporary_ / "a");
    machine.save("more");
    EXPECT_EQ(machine.failure, std::nullopt);
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("mine", "more"));
}

TEST_F(FolderKeyValueStoreTest, RemovesWhatKilledWritersLeftLongAgo) {
    writeTestFile(folder_ / ".presets.vello-1.abcdef", "[");
    writeTestFile(folder_ / ".presets.vello-2.abcdef", "[");
    fs::last_write_time(folder_ / ".presets.vello-1.abcdef", fs::file_time_type::clock::now() - 2h);
    FolderKeyValueStore store(folders(), mainThread_, log_);
    set(store, kKey, "[1]");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre(kKey, ".presets.vello-2.abcdef"));
}

TEST_F(FolderKeyValueStoreTest, AKillAtAnyMomentOfAWriteLosesNothing) {
    int kills = 0;
    int written = 0;
    for (;; ++kills) {
        fs::remove_all(folder_);
        writeTestFile(file_, R"(["unseen","seen"])");
        writeTestFile(folder_ / "presets.sync-conflict-1", R"(["seen"])");
        const auto write = [&] {
            FolderKeyValueStore store(folders(), mainThread_, log_);
            const std::vector<KeyValueStore::Version> merged{{R"(["seen"])", true}};
            static_cast<void>(store.setData(kKey, R"(["new","seen"])", merged));
        };
        const bool isKilled = isKilledAfter(kills, write);
        const auto all = everythingIn(folder_);
        ASSERT_TRUE(all.contains("unseen") && all.contains("seen")) << "after " << kills << " steps";
        written += all.contains("new") ? 1 : 0;
        if (!isKilled)
            break;
    }
    EXPECT_GT(kills, 60) << "the write makes more steps than were seen";
    EXPECT_GT(written, 1);
    EXPECT_LT(written, kills);
}

TEST_F(FolderKeyValueStoreTest, TwoMachinesExchangeEverythingWhileWritersAreKilledInMidWrite) {
    std::mt19937 random(7);
    std::set<std::string> saved;
    for (int round = 0; round < 100; ++round) {
        const std::string name = std::to_string(round);
        if (round % 10 == 5) // a third writer, killed during its write
            isKilledAfter(static_cast<int>(std::uniform_int_distribution(20, 160)(random)), [&] {
                FolderKeyValueStore store(folders(), mainThread_, log_);
                const auto versions = store.versions(kKey);
                const std::string list = versions.empty() ? "[\"\"]" : versions.back().data;
                static_cast<void>(store.setData(
                    kKey, list.substr(0, list.size() - 1) + R"(,"k)" + name + "\"]", {&versions.back(), 1}));
            });
        // Both stores are created only here, so that the killed writer was forked from a single thread.
        Machine one(*this);
        Machine two(*this);
        one.save("a" + name);
        if (round % 2 == 0) { // otherwise both write at the same time
            EXPECT_TRUE(mainThread_.runUntil([&] { return two.knows("a" + name); }, 2s));
        }
        two.save("b" + name);
        saved.insert({"a" + name, "b" + name});
        const auto knowsAll = [&](const Machine& machine) {
            return std::ranges::includes(machine.known, saved);
        };
        ASSERT_TRUE(mainThread_.runUntil([&] { return knowsAll(one) && knowsAll(two); }, 2s)) << round;
    }
    const auto all = everythingIn(folder_);
    EXPECT_TRUE(std::ranges::includes(all, saved));
}

TEST_F(FolderKeyValueStoreTest, TheFolderIsTheChosenOneElseThatOfTheEnvironmentElseItsOwn) {
    std::map<std::string, std::string> variables{{"XDG_DATA_HOME", "/data"}};
    const Environment environment = [&](const char* name) {
        return variables.contains(name) ? variables[name].c_str() : nullptr;
    };
    EXPECT_EQ(sharedFolder("", environment), "/data/EQ by QUORVIN/Sync");
    variables["VELLO_SYNC_FOLDER"] = "/cloud";
    EXPECT_EQ(sharedFolder("", environment), "/cloud");
    EXPECT_EQ(sharedFolder("/mine", environment), "/mine");
    EXPECT_EQ(sharedFolder("mine", environment), fs::current_path() / "mine");
    variables["VELLO_SYNC_FOLDER"] = "cloud";
    EXPECT_THROW(sharedFolder("", environment), std::invalid_argument);
}

} // namespace
} // namespace vello
