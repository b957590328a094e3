// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/UserFolders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace vello {
namespace {

using testing::ElementsAre;

Environment environmentOf(std::map<std::string, std::string> variables) {
    return [variables = std::move(variables)](const char* name) {
        const auto variable = variables.find(name);
        return variable == variables.end() ? nullptr : variable->second.c_str();
    };
}

TEST(UserFoldersTest, DataOfTheUserIsWhereTheEnvironmentSaysWhenThatIsAbsolute) {
    EXPECT_EQ(userDataFolder(environmentOf({{"XDG_DATA_HOME", "/data"}, {"HOME", "/home/a"}})), "/data");
    EXPECT_EQ(userDataFolder(environmentOf({{"XDG_DATA_HOME", "data"}, {"HOME", "/home/a"}})),
              "/home/a/.local/share");
    EXPECT_EQ(userDataFolder(environmentOf({{"XDG_DATA_HOME", ""}, {"HOME", "/home/a"}})),
              "/home/a/.local/share");
    EXPECT_EQ(userDataFolder(environmentOf({{"HOME", "/home/a"}})), "/home/a/.local/share");
}

TEST(UserFoldersTest, TheAccountKnowsTheHomeFolderWhenTheEnvironmentDoesNot) {
    const auto folder = userDataFolder(environmentOf({{"HOME", "relative"}}));
    EXPECT_TRUE(folder.is_absolute());
    EXPECT_EQ(folder, userDataFolder(environmentOf({})));
    EXPECT_EQ(folder.filename(), "share");
}

TEST(UserFoldersTest, AnAccountWithoutAHomeFolderIsToldWhatToDo) {
    const Environment empty = environmentOf({});
    EXPECT_EQ(homeFolder(empty, "/home/b"), "/home/b");
    EXPECT_EQ(homeFolder(environmentOf({{"HOME", "/home/a"}}), ""), "/home/a");
    for (const char* const ofAccount : {"", "relative"})
        EXPECT_THROW(homeFolder(empty, ofAccount), std::runtime_error) << ofAccount;
}

TEST(UserFoldersTest, DataOfTheSystemHasItsDefaults) {
    EXPECT_THAT(systemDataFolders(environmentOf({})), ElementsAre("/usr/local/share", "/usr/share"));
    EXPECT_THAT(systemDataFolders(environmentOf({{"XDG_DATA_DIRS", ""}})),
                ElementsAre("/usr/local/share", "/usr/share"));
    EXPECT_THAT(systemDataFolders(environmentOf({{"XDG_DATA_DIRS", "/a:b::/c:/a"}})),
                ElementsAre("/a", "/c"));
}

TEST(UserFoldersTest, ApplicationsLeaveTheirEntriesAlsoWhereFlatpakAndSnapExportThem) {
    EXPECT_THAT(applicationDataFolders(environmentOf({{"XDG_DATA_HOME", "/data"}, {"XDG_DATA_DIRS", "/a"}})),
                ElementsAre("/data", "/a", "/data/flatpak/exports/share", "/var/lib/flatpak/exports/share",
                            "/var/lib/snapd/desktop"));
    EXPECT_THAT(applicationDataFolders(environmentOf(
                    {{"XDG_DATA_HOME", "/data"}, {"XDG_DATA_DIRS", "/var/lib/snapd/desktop:/a"}})),
                ElementsAre("/data", "/var/lib/snapd/desktop", "/a", "/data/flatpak/exports/share",
                            "/var/lib/flatpak/exports/share"));
}

TEST(UserFoldersTest, TheRuntimeFolderHasNoDefault) {
    EXPECT_EQ(runtimeFolder(environmentOf({{"XDG_RUNTIME_DIR", "/run/user/1000"}})), "/run/user/1000");
    EXPECT_FALSE(runtimeFolder(environmentOf({{"XDG_RUNTIME_DIR", "run"}})));
    EXPECT_FALSE(runtimeFolder(environmentOf({})));
}

TEST(UserFoldersTest, TheProcessHasAnEnvironment) {
    ::setenv("VELLO_TEST_VARIABLE", "value", 1);
    EXPECT_STREQ(processEnvironment()("VELLO_TEST_VARIABLE"), "value");
    ::unsetenv("VELLO_TEST_VARIABLE");
    EXPECT_EQ(processEnvironment()("VELLO_TEST_VARIABLE"), nullptr);
}

} // namespace
} // namespace vello
