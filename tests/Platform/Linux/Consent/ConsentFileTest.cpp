// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/ConsentFile.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;

class ConsentFileTest : public testing::Test {
protected:
    /// The consent that a file with this content and mode expresses.
    Consent meaningOf(std::string_view content, unsigned mode = 0600) {
        fs::remove_all(file_);
        writeTestFile(file_, content);
        fs::permissions(file_, fs::perms(mode));
        return consent_.read();
    }

    TemporaryFolder folder_;
    const fs::path file_ = folder_ / "EQ/capture-consent";
    ConsentFile consent_{file_};
};

TEST_F(ConsentFileTest, IsUndecidedWithoutAFile) {
    EXPECT_EQ(consent_.read(), Consent::undecided);
}

TEST_F(ConsentFileTest, KeepsTheAnswerForTheUserAlone) {
    for (const Consent answer : {Consent::allowed, Consent::denied, Consent::allowed}) {
        consent_.write(answer);
        EXPECT_EQ(consent_.read(), answer);
        EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0600));
    }
}

TEST_F(ConsentFileTest, TakesNothingButExactlyAnAnswerForOne) {
    EXPECT_EQ(meaningOf("capture allowed\n"), Consent::allowed);
    EXPECT_EQ(meaningOf("capture denied\n"), Consent::denied);
    for (const char* text : {"", "capture allowed", "capture allowed\n\n", "allowed\n", "capture", "yes", "1",
                             "Capture allowed\n", "capture denied\ncapture allowed\n", "\xff\xfe"})
        EXPECT_EQ(meaningOf(text), Consent::undecided) << text;
    EXPECT_EQ(meaningOf(std::string(1'000'000, 'x')), Consent::undecided);
}

TEST_F(ConsentFileTest, DoesNotTrustAFileThatOthersMayWrite) {
    EXPECT_EQ(meaningOf("capture allowed\n", 0644), Consent::allowed);
    EXPECT_EQ(meaningOf("capture allowed\n", 0660), Consent::undecided);
    EXPECT_EQ(meaningOf("capture allowed\n", 0602), Consent::undecided);
}

TEST_F(ConsentFileTest, DoesNotTrustAFileOfAnotherUser) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can give a file away";
    writeTestFile(file_, "capture allowed\n");
    ASSERT_EQ(::chown(file_.c_str(), 65534, 65534), 0);
    EXPECT_EQ(consent_.read(), Consent::undecided);
}

TEST_F(ConsentFileTest, TakesNoLinkPipeOrFolderForAnAnswer) {
    writeTestFile(folder_ / "elsewhere", "capture allowed\n");
    fs::create_directories(file_.parent_path());
    fs::create_symlink(folder_ / "elsewhere", file_);
    EXPECT_EQ(consent_.read(), Consent::undecided);
    fs::remove(file_);
    ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
    EXPECT_EQ(consent_.read(), Consent::undecided) << "a pipe without a writer would never answer";
    fs::remove(file_);
    fs::create_directory(file_);
    EXPECT_EQ(consent_.read(), Consent::undecided);
}

TEST_F(ConsentFileTest, SaysWhyAnAnswerCannotBeKept) {
    fs::create_directories(file_);
    EXPECT_THROW(consent_.write(Consent::allowed), std::system_error);
}

} // namespace
} // namespace vello
