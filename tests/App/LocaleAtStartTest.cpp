// SPDX-License-Identifier: Apache-2.0
#include "support/session/ChildProcess.h"
#include "support/session/PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// The program as a process, in locales of services and of remote logins.
class LocaleAtStartTest : public testing::Test {
protected:
    /// Output of `command` on both streams until it ends.
    std::string outputIn(const char* locale, const std::vector<std::string>& command) const {
        session::Environment environment = bus_.environment();
        environment["LC_ALL"] = locale;
        environment["QT_QPA_PLATFORM"] = "offscreen";
        session::ChildProcess program(command, environment, folder_ / locale);
        EXPECT_TRUE(program.waitForExit(10s));
        return program.output();
    }

    TemporaryFolder folder_;
    session::PrivateBus bus_{folder_.path()};
};

TEST_F(LocaleAtStartTest, ACommandWritesNoMoreWhereTheLocaleIsNotUTF8) {
    const std::vector<std::string> command{VELLO_EXECUTABLE, "status"};
    const std::string usual = outputIn("C.UTF-8", command);
    EXPECT_EQ(outputIn("C", command), usual);
    EXPECT_EQ(outputIn("xx_XX.UTF-8", command), usual);
}

} // namespace
} // namespace vello
