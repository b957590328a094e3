// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/DesktopRunningApplications.h"

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace vello {
namespace {

class RealProcessesTest : public testing::Test {
protected:
    RealProcessesTest() {
        const std::string program = std::filesystem::read_symlink("/proc/self/exe");
        writeTestFile(folder_ / "org.example.Test.desktop",
                      "[Desktop Entry]\nType=Application\nName=Test\nExec=\"" + program + "\" %U\n");
        folders_.processes = "/proc";
        folders_.applications = {folder_.path()};
    }

    TemporaryFolder folder_;
    DesktopFolders folders_;
};

TEST_F(RealProcessesTest, ThisProcessAndItsHelperAreOneApplication) {
    int end[2];
    ASSERT_EQ(::pipe(end), 0);
    const pid_t helper = ::fork();
    if (helper == 0) {
        ::close(end[1]);
        char byte = 0;
        ::_exit(static_cast<int>(::read(end[0], &byte, 1)));
    }
    DesktopRunningApplications applications(folders_);
    EXPECT_EQ(applications.ownProcess(), ::getpid());
    EXPECT_EQ(applications.responsibleProcess(::getpid()), ::getpid());
    EXPECT_EQ(applications.responsibleProcess(helper), ::getpid());
    for (const pid_t pid : {::getpid(), helper}) {
        const auto application = applications.runningApplication(pid);
        ASSERT_TRUE(application);
        EXPECT_EQ(application->bundleIdentifier, "org.example.Test");
        EXPECT_EQ(application->localizedName, "Test");
    }
    EXPECT_FALSE(applications.runningApplication(1)) << "the first process is no application";
    ::close(end[1]);
    ::waitpid(helper, nullptr, 0);
    ::close(end[0]);
    EXPECT_EQ(applications.responsibleProcess(helper), 0) << "it has ended";
}

TEST_F(RealProcessesTest, TheSystemsOwnFoldersCanBeRead) {
    DesktopRunningApplications applications(DesktopFolders::fromEnvironment(processEnvironment()));
    EXPECT_EQ(applications.responsibleProcess(::getpid()), ::getpid());
}

} // namespace
} // namespace vello
