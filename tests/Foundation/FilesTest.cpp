// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Files.h"

#include "support/FullDisk.h"
#include "support/KilledProcess.h"
#include "support/OrdinaryUser.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using testing::UnorderedElementsAre;

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

unsigned modeOf(const fs::path& file) {
    return static_cast<unsigned>(fs::status(file).permissions());
}

class AtomicFileTest : public testing::Test {
protected:
    TemporaryFolder folder_;
    const fs::path file_ = folder_ / "settings.json";
};

TEST_F(AtomicFileTest, WritesANewFileForTheUserAlone) {
    writeFileAtomically(file_, "content");
    EXPECT_EQ(readTestFile(file_), "content");
    EXPECT_EQ(modeOf(file_), 0600U);
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json"));
}

TEST_F(AtomicFileTest, ReplacesAFileAndItsMode) {
    writeTestFile(file_, "a much longer content than the next");
    fs::permissions(file_, fs::perms(0666));
    writeFileAtomically(file_, "");
    EXPECT_EQ(readTestFile(file_), "");
    EXPECT_EQ(modeOf(file_), 0600U);
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json"));
}

TEST_F(AtomicFileTest, ReplacesWhatASymbolicLinkNamesAndKeepsTheLink) {
    writeTestFile(folder_ / "elsewhere/real.json", "old");
    fs::create_symlink("elsewhere/real.json", folder_ / "middle");
    fs::create_symlink(folder_ / "middle", file_);
    writeFileAtomically(file_, "new");
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_TRUE(fs::is_symlink(folder_ / "middle"));
    EXPECT_EQ(readTestFile(folder_ / "elsewhere/real.json"), "new");
    EXPECT_THAT(namesIn(folder_ / "elsewhere"), UnorderedElementsAre("real.json"));
}

TEST_F(AtomicFileTest, CreatesWhatADanglingLinkNames) {
    fs::create_symlink(folder_ / "later.json", file_);
    writeFileAtomically(file_, "new");
    EXPECT_EQ(readTestFile(folder_ / "later.json"), "new");
    EXPECT_TRUE(fs::is_symlink(file_));
}

TEST_F(AtomicFileTest, ARingOfLinksIsAnError) {
    fs::create_symlink("other", file_);
    fs::create_symlink("settings.json", folder_ / "other");
    EXPECT_THROW(writeFileAtomically(file_, "new"), std::system_error);
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json", "other"));
}

TEST_F(AtomicFileTest, AMissingFolderIsAnError) {
    EXPECT_THROW(writeFileAtomically(folder_ / "missing/settings.json", "new"), std::system_error);
}

TEST_F(AtomicFileTest, WhatCannotBeReplacedLeavesNothingBehind) {
    fs::create_directories(file_ / "occupied");
    EXPECT_THROW(writeFileAtomically(file_, "new"), std::system_error);
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json"));
}

TEST_F(AtomicFileTest, AReadOnlyFolderKeepsTheOldContent) {
    writeTestFile(file_, "old");
    fs::permissions(file_, fs::perms(0666));
    fs::permissions(folder_.path(), fs::perms(0555));
    {
        const OrdinaryUser user;
        EXPECT_THROW(writeFileAtomically(file_, "new"), std::system_error);
    }
    fs::permissions(folder_.path(), fs::perms(0755));
    EXPECT_EQ(readTestFile(file_), "old");
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json"));
}

TEST_F(AtomicFileTest, AFullDiskKeepsTheOldContentAndLeavesNothingBehind) {
    writeTestFile(file_, "old");
    {
        const FullDisk disk(4096);
        EXPECT_THROW(writeFileAtomically(file_, std::string(100'000, 'x')), std::system_error);
    }
    EXPECT_EQ(readTestFile(file_), "old");
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("settings.json"));
}

TEST_F(AtomicFileTest, AKillAtAnyMomentLeavesTheOldContentOrTheNew) {
    const std::string oldContent(300'000, 'o');
    const std::string newContent(200'000, 'n');
    int kills = 0;
    int newSeen = 0;
    for (;; ++kills) {
        writeTestFile(file_, oldContent);
        if (!isKilledAfter(kills, [&] { writeFileAtomically(file_, newContent); }))
            break;
        const std::string content = readTestFile(file_);
        ASSERT_TRUE(content == oldContent || content == newContent) << "after " << kills << " steps";
        newSeen += content == newContent ? 1 : 0;
    }
    EXPECT_EQ(readTestFile(file_), newContent);
    EXPECT_GT(kills, 15) << "the write makes more steps than were seen";
    EXPECT_GT(newSeen, 0);
    EXPECT_LT(newSeen, kills);
}

TEST_F(AtomicFileTest, AKillWhileWritesFollowEachOtherNeverLeavesAPartOfAFile) {
    const std::string contents[] = {std::string(150'000, 'a'), std::string(250'000, 'b')};
    for (int round = 0; round < 50; ++round) {
        // Prime strides spread the kills over several writes.
        ASSERT_TRUE(isKilledAfter(1 + round * 7 % 101, [&] {
            for (int i = 0;; ++i)
                writeFileAtomically(file_, contents[i % 2]);
        }));
        const std::string content = readTestFile(file_);
        ASSERT_TRUE(!fs::exists(file_) || content == contents[0] || content == contents[1]);
    }
    EXPECT_TRUE(fs::exists(file_));
}

TEST_F(AtomicFileTest, ReadsTheFirstBytesOfAFile) {
    writeTestFile(file_, std::string("a\0b", 3));
    EXPECT_EQ(readFile(file_, 100), std::string("a\0b", 3));
    EXPECT_EQ(readFile(file_, 2), std::string("a\0", 2));
    writeTestFile(file_, std::string(200'000, 'x'));
    EXPECT_EQ(readFile(file_, 100'000), std::string(100'000, 'x'));
    EXPECT_EQ(readFile(file_, 300'000), std::string(200'000, 'x'));
}

TEST_F(AtomicFileTest, ReadsNothingThatIsNoRegularFile) {
    EXPECT_FALSE(readFile(file_, 100));
    EXPECT_FALSE(readFile(folder_.path(), 100));
    EXPECT_FALSE(readFile("/dev/zero", 100));
    ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
    EXPECT_FALSE(readFile(file_, 100)) << "a pipe without a writer would never answer";
}

TEST_F(AtomicFileTest, DoesNotReadWhatTheUserMayNotRead) {
    writeTestFile(file_, "secret");
    fs::permissions(file_, fs::perms::none);
    const OrdinaryUser user;
    EXPECT_FALSE(readFile(file_, 100));
}

TEST_F(AtomicFileTest, CreatesFoldersForTheUserAlone) {
    createPrivateFolder(folder_ / "a/b/c");
    EXPECT_EQ(modeOf(folder_ / "a"), 0700U);
    EXPECT_EQ(modeOf(folder_ / "a/b/c"), 0700U);
    fs::permissions(folder_ / "a/b", fs::perms(0755));
    EXPECT_NO_THROW(createPrivateFolder(folder_ / "a/b"));
    EXPECT_EQ(modeOf(folder_ / "a/b"), 0755U) << "a folder that exists stays as it is";
}

TEST_F(AtomicFileTest, AFileInPlaceOfAFolderIsAnError) {
    writeTestFile(folder_ / "a", "");
    EXPECT_THROW(createPrivateFolder(folder_ / "a"), std::system_error);
    EXPECT_THROW(createPrivateFolder(folder_ / "a/b"), std::system_error);
}

TEST_F(AtomicFileTest, MovesAFileButNeverOverAnother) {
    writeTestFile(file_, "first");
    EXPECT_TRUE(moveWithoutReplacing(file_, folder_ / "aside"));
    EXPECT_FALSE(fs::exists(file_));
    EXPECT_FALSE(moveWithoutReplacing(file_, folder_ / "other")) << "there is nothing to move";

    writeTestFile(file_, "second");
    EXPECT_FALSE(moveWithoutReplacing(file_, folder_ / "aside"));
    EXPECT_EQ(readTestFile(file_), "second");
    EXPECT_EQ(readTestFile(folder_ / "aside"), "first");
}

TEST_F(AtomicFileTest, MovesAsideUnderANameWhoseEarlierFilesGetNumbers) {
    EXPECT_FALSE(moveAside(file_, folder_ / "aside")) << "there is nothing to move";
    for (const char* content : {"first", "second", "third"}) {
        writeTestFile(file_, content);
        EXPECT_TRUE(moveAside(file_, folder_ / "aside"));
    }
    EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("aside", "aside.1", "aside.2"));
    EXPECT_EQ(readTestFile(folder_ / "aside"), "third");
    EXPECT_EQ(readTestFile(folder_ / "aside.1"), "first");
}

TEST_F(AtomicFileTest, AStampTellsWhetherAFileIsTheSame) {
    EXPECT_EQ(fileStamp(file_), std::nullopt);
    writeFileAtomically(file_, "content");
    const auto stamp = fileStamp(file_);
    ASSERT_TRUE(stamp);
    EXPECT_EQ(readContent(file_, 100)->stamp, stamp);
    EXPECT_EQ(fileStamp(file_), stamp);
    writeFileAtomically(file_, "another content");
    EXPECT_NE(fileStamp(file_), stamp);
}

TEST_F(AtomicFileTest, AReadThatFailsSaysWhy) {
    EXPECT_FALSE(readContent(file_, 100));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(readContent(folder_.path(), 100));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(readContent("/dev/null", 100));
    EXPECT_EQ(errno, ENOTSUP);
    EXPECT_FALSE(readContent("/proc/self/mem", 100));
    EXPECT_EQ(errno, EIO);
}

} // namespace
} // namespace vello
