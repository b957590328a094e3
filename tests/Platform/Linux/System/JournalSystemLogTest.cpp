// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/JournalSystemLog.h"

#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class JournalSystemLogTest : public testing::Test {
protected:
    ~JournalSystemLogTest() override { ::close(descriptor_); }

    std::string written() const { return readTestFile(file_); }
    JournalSystemLog::SendEntry recordEntries(bool isThereAJournal) {
        return [this, isThereAJournal](const std::vector<std::string>& fields) {
            entries_.push_back(fields);
            return isThereAJournal;
        };
    }

    TemporaryFolder folder_;
    const std::filesystem::path file_ = folder_ / "log";
    const int descriptor_ = ::open(file_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    std::vector<std::vector<std::string>> entries_;
};

TEST_F(JournalSystemLogTest, WritesOneLineAMessageAndLeavesDetailsOut) {
    JournalSystemLog log({descriptor_, false, false}, recordEntries(true));
    log.write(LogLevel::debug, "s", "Store", "debug");
    log.write(LogLevel::info, "s", "Store", "info");
    log.write(LogLevel::notice, "s", "Store", "Größe");
    log.write(LogLevel::error, "s", "Store", "");
    log.write(LogLevel::fault, "s", "Store", "x");
    EXPECT_EQ(written(), "notice Store: Größe\nerror Store: \nfault Store: x\n");
    EXPECT_THAT(entries_, IsEmpty());
}

TEST_F(JournalSystemLogTest, WritesDetailsWhenAskedFor) {
    JournalSystemLog log({descriptor_, false, true});
    log.write(LogLevel::debug, "s", "Store", "one");
    log.write(LogLevel::info, "s", "Store", "two");
    EXPECT_EQ(written(), "debug Store: one\ninfo Store: two\n");
}

TEST_F(JournalSystemLogTest, KeepsALineOneLineAndTheTerminalWhole) {
    JournalSystemLog log({descriptor_, false, false});
    log.write(LogLevel::notice, "s", "a\nb",
              "x\ny\tz\x1b[2J\x7f \xff\xc3 \u0085 \u2028 \u202e." + std::string(1, '\0'));
    EXPECT_EQ(written(),
              "notice a\\nb: x\\ny\\tz\\x1b[2J\\x7f \\xff\\xc3 \\u{85} \\u{2028} \\u{202e}.\\x00\n");
}

TEST_F(JournalSystemLogTest, CutsAMessageThatIsHuge) {
    JournalSystemLog log({descriptor_, false, false});
    log.write(LogLevel::notice, "s", "c", std::string(1'000'000, 'x'));
    EXPECT_EQ(written(), "notice c: " + std::string(16'384, 'x') + "...\n");
}

TEST_F(JournalSystemLogTest, SendsTheJournalTheMessageAsItIsWithItsFields) {
    JournalSystemLog log({descriptor_, true, false}, recordEntries(true));
    log.write(LogLevel::debug, "com.example", "Store", "two\nlines\x1b");
    log.write(LogLevel::error, "com.example", "Tap", "");
    EXPECT_THAT(entries_,
                ElementsAre(ElementsAre("MESSAGE=two\nlines\x1b", "PRIORITY=7", "SUBSYSTEM=com.example",
                                        "CATEGORY=Store", "SYSLOG_IDENTIFIER=vello"),
                            ElementsAre("MESSAGE=", "PRIORITY=3", "SUBSYSTEM=com.example", "CATEGORY=Tap",
                                        "SYSLOG_IDENTIFIER=vello")));
    EXPECT_EQ(written(), "");
}

TEST_F(JournalSystemLogTest, FallsBackToLinesWithoutAJournal) {
    JournalSystemLog log({descriptor_, true, false}, recordEntries(false));
    log.write(LogLevel::notice, "s", "Store", "kept");
    EXPECT_EQ(written(), "notice Store: kept\n");
}

TEST_F(JournalSystemLogTest, LosesWhatCannotBeWritten) {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    JournalSystemLog(JournalSystemLog::Target{full, false, false}).write(LogLevel::error, "s", "c", "x");
    ::close(full);
    JournalSystemLog(JournalSystemLog::Target{full, false, false}).write(LogLevel::error, "s", "c", "x");
}

TEST_F(JournalSystemLogTest, LinesOfSeveralThreadsDoNotMix) {
    JournalSystemLog log({descriptor_, false, false});
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b', 'c'})
        threads.emplace_back([&log, letter] {
            for (int i = 0; i < 200; ++i)
                log.write(LogLevel::notice, "s", "c", std::string(50, letter));
        });
    for (std::thread& thread : threads)
        thread.join();
    std::istringstream lines(written());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_THAT(line,
                    testing::AnyOf("notice c: " + std::string(50, 'a'), "notice c: " + std::string(50, 'b'),
                                   "notice c: " + std::string(50, 'c')));
    EXPECT_EQ(count, 600);
}

/// Redirects standard error to another descriptor for its lifetime.
class RedirectedErrors {
public:
    explicit RedirectedErrors(int descriptor) : before_(::dup(STDERR_FILENO)) {
        ::dup2(descriptor, STDERR_FILENO);
    }
    ~RedirectedErrors() {
        ::dup2(before_, STDERR_FILENO);
        ::close(before_);
    }
    RedirectedErrors(const RedirectedErrors&) = delete;
    RedirectedErrors& operator=(const RedirectedErrors&) = delete;

private:
    const int before_;
};

TEST_F(JournalSystemLogTest, TakesTheJournalWhenStandardErrorIsItsStream) {
    const RedirectedErrors errors(descriptor_);
    struct stat status = {};
    ASSERT_EQ(::fstat(descriptor_, &status), 0);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    ::setenv("JOURNAL_STREAM", stream.c_str(), 1);
    EXPECT_TRUE(JournalSystemLog::Target::fromEnvironment().isJournal);
    ::setenv("JOURNAL_STREAM", (stream + "1").c_str(), 1);
    EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().isJournal);
    ::setenv("JOURNAL_STREAM", "nonsense", 1);
    EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().isJournal);
    ::unsetenv("JOURNAL_STREAM");
    EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().isJournal);
}

TEST_F(JournalSystemLogTest, TakesTheJournalWhenStandardErrorLeadsNowhere) {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    const RedirectedErrors errors(nowhere);
    ::close(nowhere);
    EXPECT_TRUE(JournalSystemLog::Target::fromEnvironment().isJournal);
}

TEST_F(JournalSystemLogTest, TakesTheTerminalWhenStandardErrorIsOneEvenInsideAService) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ::setenv("JOURNAL_STREAM", "8:1234", 1);
    {
        const RedirectedErrors errors(terminal);
        EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().isJournal);
    }
    ::unsetenv("JOURNAL_STREAM");
    ::close(terminal);
}

TEST_F(JournalSystemLogTest, ShowsDetailsOnlyForTheValueDebug) {
    ::setenv("VELLO_LOG", "debug", 1);
    EXPECT_TRUE(JournalSystemLog::Target::fromEnvironment().showsDetails);
    ::setenv("VELLO_LOG", "info", 1);
    EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().showsDetails);
    ::unsetenv("VELLO_LOG");
    EXPECT_FALSE(JournalSystemLog::Target::fromEnvironment().showsDetails);
}

} // namespace
} // namespace vello
