// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/WorkArea.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

const QRect kScreen(1920, 0, 1920, 1080);

/// The answer of sway about two outputs, the second of which shows `rect`.
QByteArray workspaces(const QByteArray& rect) {
    return R"([{"name": "1", "visible": true, "output": "eDP-1",
                "rect": {"x": 0, "y": 30, "width": 1920, "height": 1050}},
               {"name": "3", "visible": false, "output": "DP-2",
                "rect": {"x": 0, "y": 0, "width": 0, "height": 0}},
               {"name": "2", "visible": true, "output": "DP-2", "rect": )" +
           rect + "}]";
}

TEST(WorkAreaTest, IsThatOfTheVisibleWorkspaceOnTheOutput) {
    const QByteArray answer = workspaces(R"({"x": 1920, "y": 0, "width": 1920, "height": 1052})");
    EXPECT_EQ(workAreaOfWorkspaces(answer, "DP-2", kScreen), QRect(1920, 0, 1920, 1052));
    EXPECT_EQ(workAreaOfWorkspaces(answer, "eDP-1", {0, 0, 1920, 1080}), QRect(0, 30, 1920, 1050));
    EXPECT_EQ(workAreaOfWorkspaces(answer, "HDMI-A-1", kScreen), std::nullopt);
}

TEST(WorkAreaTest, DoesNotTakeTheGapsAtAllEdgesForBars) {
    const QByteArray answer = workspaces(R"({"x": 1930, "y": 40, "width": 1900, "height": 1030})");
    EXPECT_EQ(workAreaOfWorkspaces(answer, "DP-2", kScreen), QRect(1920, 30, 1920, 1050));
}

TEST(WorkAreaTest, TheFocusedOutputIsThatOfTheFocusedWorkspace) {
    EXPECT_EQ(focusedOutputOfWorkspaces(R"([{"focused": false, "output": "eDP-1"},
                                            {"focused": true, "output": "DP-2"}])"),
              QStringLiteral("DP-2"));
    for (const char* const answer : {"", "[1]", "[{}]", R"([{"focused": false, "output": "DP-2"}])"})
        EXPECT_EQ(focusedOutputOfWorkspaces(answer), std::nullopt) << answer;
}

TEST(WorkAreaTest, IsAbsentForAnAnswerThatIsNotUnderstood) {
    for (const char* const answer :
         {"", "{}", "[", "[1]", "[{}]", R"([{"visible": true, "output": "DP-2"}])"})
        EXPECT_EQ(workAreaOfWorkspaces(answer, "DP-2", kScreen), std::nullopt) << answer;
    const QByteArray outside = workspaces(R"({"x": 0, "y": 0, "width": 1920, "height": 1080})");
    EXPECT_EQ(workAreaOfWorkspaces(outside, "DP-2", kScreen), std::nullopt);
}

} // namespace
} // namespace vello
