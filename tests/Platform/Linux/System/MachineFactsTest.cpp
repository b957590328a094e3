// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/MachineFacts.h"
#include "Platform/Linux/System/ProcessFacts.h"

#include "support/OrdinaryUser.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <unistd.h>

namespace vello {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

TEST(MachineFacts, NameTheSystem) {
    EXPECT_THAT(kernelName(), StartsWith("Linux "));
    EXPECT_NE(distributionName(), "");
}

TEST(MachineFacts, TellTheSpaceWhereAFolderWouldBe) {
    const TemporaryFolder folder;
    const FolderFacts facts = folderFacts(folder.path() / "not" / "there");
    EXPECT_EQ(facts.folder, (folder.path() / "not" / "there").string());
    EXPECT_EQ(facts.freeBytes, folderFacts(folder.path()).freeBytes);
    EXPECT_GT(facts.freeBytes.value_or(0), 0U);
    EXPECT_TRUE(facts.isWritable);
}

TEST(MachineFacts, FindNoPulseAudioWhereNothingListens) {
    const TemporaryFolder folder;
    EXPECT_FALSE(isPulseAudioRunning(folder.path() / "native"));
    EXPECT_FALSE(isPulseAudioRunning({}));
}

TEST(ProcessFacts, AreThoseOfTheProcess) {
    const auto own = static_cast<std::int32_t>(::getpid());
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
    EXPECT_EQ(processName(own), program.substr(0, 15));
    EXPECT_TRUE(isProgramOfUserRunning(processName(own)));
    EXPECT_FALSE(isProgramOfUserRunning("no such name"));
    EXPECT_THAT(loadedLibraryVersion(own, "libstdc++"), MatchesRegex("6[.0-9]*"));
    EXPECT_EQ(loadedLibraryVersion(own, "libnothing"), "");
}

TEST(ProcessFacts, TellWhetherAThreadHasRealtimePriority) {
    EXPECT_EQ(realtimePriority(static_cast<std::int32_t>(::getpid())), RealtimePriority::refused);
    EXPECT_EQ(realtimePriority(0), RealtimePriority::unknown);
}

} // namespace
} // namespace vello
