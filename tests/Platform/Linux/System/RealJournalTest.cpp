// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/JournalSystemLog.h"

#include "support/session/ChildProcess.h"
#include "support/session/OwnMounts.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using session::ChildProcess;
using namespace std::chrono_literals;

constexpr char kJournal[] = "/run/log/journal";

/// The journal of a private daemon in private mounts.
class RealJournalTest : public testing::Test {
protected:
    void SetUp() override {
        if (!session::hasOwnMounts())
            return;
        ASSERT_EQ(::mount("tmpfs", "/run", "tmpfs", 0, "size=64m"), 0);
        fs::create_directories("/run/systemd/journal");
        fs::create_directories(kJournal);
        writeTestFile("/run/systemd/journald.conf.d/test.conf",
                      "[Journal]\nStorage=volatile\nReadKMsg=no\nAudit=\n"
                      "RuntimeMaxUse=16M\nRateLimitIntervalSec=0\n");
        daemon_ = std::make_unique<ChildProcess>(std::vector<std::string>{"/lib/systemd/systemd-journald"},
                                                 session::ownEnvironment(), folder_ / "journald.log");
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!fs::exists("/run/systemd/journal/io.systemd.journal"))
            ASSERT_TRUE(!daemon_->waitForExit(2ms) && std::chrono::steady_clock::now() < deadline)
                << daemon_->output();
    }

    /// The journal's entries of this program, in order.
    std::vector<nlohmann::json> entries() const {
        const session::Environment environment = session::ownEnvironment();
        session::runProgram({"journalctl", "--sync"}, environment, folder_.path());
        std::istringstream lines(
            session::runProgram({"journalctl", "--directory", kJournal, "--output", "json", "--all",
                                 "--no-pager", "SYSLOG_IDENTIFIER=vello"},
                                environment, folder_.path()));
        std::vector<nlohmann::json> all;
        for (std::string line; std::getline(lines, line);)
            all.push_back(nlohmann::json::parse(line));
        return all;
    }

    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> daemon_;
};

TEST_F(RealJournalTest, KeepsEveryLineWithItsSubsystemCategoryAndLevel) {
    VELLO_NEEDS_OWN_MOUNTS(folder_.path());
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    const int before = ::dup(STDERR_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    const auto target = JournalSystemLog::Target::fromEnvironment();
    ::dup2(before, STDERR_FILENO);
    JournalSystemLog log(target);
    const Logger store(log, "com.quorvin.Vello", "SettingsStore");
    const Logger tap(log, "com.quorvin.Vello", "ProcessTap");
    store.debug("details");
    store.notice("two\nlines");
    tap.info("größer");
    tap.error("fails=everywhere");
    log.write(LogLevel::fault, "com.quorvin.Vello", "ProcessTap", std::string(500'000, 'x'));

    const auto all = entries();
    ASSERT_EQ(all.size(), 5U);
    const auto check = [&](std::size_t index, const char* category, const char* priority,
                           const std::string& message) {
        EXPECT_EQ(all[index].value("SUBSYSTEM", ""), "com.quorvin.Vello");
        EXPECT_EQ(all[index].value("CATEGORY", ""), category);
        EXPECT_EQ(all[index].value("PRIORITY", ""), priority);
        EXPECT_EQ(all[index].value("_PID", ""), std::to_string(::getpid()));
        EXPECT_TRUE(all[index].value("MESSAGE", "") == message) << index;
    };
    check(0, "SettingsStore", "7", "details");
    check(1, "SettingsStore", "5", "two\nlines");
    check(2, "ProcessTap", "6", "größer");
    check(3, "ProcessTap", "3", "fails=everywhere");
    check(4, "ProcessTap", "2", std::string(500'000, 'x'));
}

TEST_F(RealJournalTest, LosesNoLineWhenTheDaemonEnds) {
    VELLO_NEEDS_OWN_MOUNTS(folder_.path());
    const fs::path file = folder_ / "lines";
    const int lines = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    JournalSystemLog log({lines, true, false});
    log.write(LogLevel::notice, "s", "Store", "to the journal");
    ASSERT_EQ(entries().size(), 1U);
    daemon_.reset();
    log.write(LogLevel::notice, "s", "Store", "to standard error");
    ::close(lines);
    EXPECT_EQ(readTestFile(file), "notice Store: to standard error\n");
}

} // namespace
} // namespace vello
