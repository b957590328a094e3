// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/RecentErrors.h"

#include "support/RecordingSystemLog.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;
using testing::SizeIs;

TEST(RecentErrors, KeepsTheLastErrorsAndPassesEveryLineOn) {
    RecordingSystemLog log;
    RecentErrors errors(log);
    errors.write(LogLevel::notice, "s", "c", "a notice");
    errors.write(LogLevel::error, "s", "Store", "no\nspace");
    errors.write(LogLevel::fault, "s", "Store", "a fault");
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"a notice", "no\nspace", "a fault"}));
    EXPECT_THAT(errors.lines(), ElementsAre(MatchesRegex("[0-9]+:[0-9]+:[0-9]+ Store: no.nspace"),
                                            MatchesRegex("[0-9]+:[0-9]+:[0-9]+ Store: a fault")));
    for (int i = 0; i < 20; ++i)
        errors.write(LogLevel::error, "s", "c", std::to_string(i));
    EXPECT_THAT(errors.lines(), SizeIs(RecentErrors::mostLines));
    EXPECT_TRUE(errors.lines().back().ends_with("c: 19"));
}

} // namespace
} // namespace vello
