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
        explicit Machine(FolderKeyValueStoreTest& test) : store(test.folder_, test.mainThread_, test.log_) {
            take();
            store.onDidChangeExternally([this] {
                ++changes;
                take();
            });
            store.synchronize();
        }
        void take() {
            if (const auto data = store.data(kKey))
                for (const auto& each : nlohmann::json::parse(*data))
                    if (const auto text = each.get<std::string>(); known.insert(text).second)
                        list.push_back(text);
        }
        void save(const std::string& text) {
            known.insert(text);
            list.push_back(text);
            store.setData(kKey, nlohmann::json(list).dump());
        }
        bool knows(const std::string& text) const { return known.contains(text); }

        FolderKeyValueStore store;
        std::vector<std::string> list;
        std::set<std::string> known;
        int changes = 0;
    };

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
        FolderKeyValueStore store(folder_, mainThread_, log_);
        EXPECT_FALSE(store.data(kKey));
        store.setData(kKey, "[1]");
        store.setData("other", "[2]");
        store.setData(kKey, "[3]");
        EXPECT_EQ(store.data(kKey), "[3]");
    }
    FolderKeyValueStore store(folder_, mainThread_, log_);
    EXPECT_EQ(store.data(kKey), "[3]");
    EXPECT_EQ(store.data("other"), "[2]");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre(kKey, "other"));
}

TEST_F(FolderKeyValueStoreTest, MakesASafeFileNameOfAnyKey) {
    FolderKeyValueStore store(folder_, mainThread_, log_);
    store.setData("../a b", "[1]");
    store.setData(".", "[2]");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre("%2E%2E%2Fa%20b", "%2E"));
    EXPECT_EQ(store.data("../a b"), "[1]");
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
    FolderKeyValueStore store(folder_, mainThread_, log_);
    store.setData(kKey, "[1]");
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
    Machine machine(*this);
    EXPECT_TRUE(mainThread_.runUntil([&] { return machine.list.size() == 4; }, 2s));
    machine.save("new");
    EXPECT_THAT(namesIn(folder_), ElementsAre(kKey));
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("here", "carried", "cloud", "capital", "new"));
}

TEST_F(FolderKeyValueStoreTest, HandsOutTheCopiesFromTheOldestToTheNewest) {
    const auto past = fs::file_time_type::clock::now() - 1h;
    // Both ways round, because one of them may be the order in which the folder lists its files.
    for (const bool isFirstOlder : {true, false}) {
        fs::remove_all(folder_);
        for (const int number : {1, 2, 3}) {
            const fs::path copy = folder_ / ("presets.sync-conflict-" + std::to_string(number));
            writeTestFile(copy, "[" + std::to_string(number) + "]");
            fs::last_write_time(copy, past + (isFirstOlder ? 1min : -1min) * number);
        }
        FolderKeyValueStore store(folder_, mainThread_, log_);
        EXPECT_EQ(store.data(kKey), isFirstOlder ? "[1]" : "[3]");
        EXPECT_EQ(store.data(kKey), "[2]");
        EXPECT_EQ(store.data(kKey), isFirstOlder ? "[3]" : "[1]");
    }
}

TEST_F(FolderKeyValueStoreTest, TheFileItselfHasTheLastWordAfterItsCopies) {
    writeTestFile(file_, "[1]");
    writeTestFile(folder_ / "presets.sync-conflict-1", "[2]");
    FolderKeyValueStore store(folder_, mainThread_, log_);
    EXPECT_EQ(store.data(kKey), "[2]");
    EXPECT_EQ(store.data(kKey), "[1]");
    EXPECT_EQ(store.data(kKey), "[1]");
}

TEST_F(FolderKeyValueStoreTest, LeavesACopyThatNobodyHasSeenYet) {
    FolderKeyValueStore store(folder_, mainThread_, log_);
    store.setData(kKey, "[1]");
    writeTestFile(folder_ / "presets.sync-conflict-1", "[2]");
    store.setData(kKey, "[3]");
    EXPECT_EQ(readTestFile(folder_ / "presets.sync-conflict-1"), "[2]");
}

TEST_F(FolderKeyValueStoreTest, DoesNotHandOutAFileThatIsStillBeingWritten) {
    writeTestFile(file_, R"(["half)");
    Machine machine(*this);
    EXPECT_FALSE(machine.store.data(kKey));
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

TEST_F(FolderKeyValueStoreTest, LogsWhatCannotBeWrittenAndGoesOn) {
    writeTestFile(temporary_ / "a", "a file where the folder should be");
    Machine machine(*this);
    machine.save("mine");
    EXPECT_THAT(log_.messages(LogLevel::error), ElementsAre(StartsWith("Failed to share data: ")));
    fs::remove(temporary_ / "a");
    machine.save("more");
    EXPECT_THAT(everythingIn(folder_), UnorderedElementsAre("mine", "more"));
}

TEST_F(FolderKeyValueStoreTest, RemovesWhatKilledWritersLeftLongAgo) {
    writeTestFile(folder_ / ".presets.vello-1.abcdef", "[");
    writeTestFile(folder_ / ".presets.vello-2.abcdef", "[");
    fs::last_write_time(folder_ / ".presets.vello-1.abcdef", fs::file_time_type::clock::now() - 2h);
    FolderKeyValueStore(folder_, mainThread_, log_).setData(kKey, "[1]");
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
            FolderKeyValueStore store(folder_, mainThread_, log_);
            if (store.data(kKey) == R"(["seen"])")
                store.setData(kKey, R"(["new","seen"])");
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
                FolderKeyValueStore store(folder_, mainThread_, log_);
                const auto list = store.data(kKey).value_or("[]");
                store.setData(kKey, list.substr(0, list.size() - 1) + R"(,"k)" + name + "\"]");
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
