// SPDX-License-Identifier: Apache-2.0
#include "support/session/ChildProcess.h"
#include "support/session/DesignedResponse.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// What the documents' figures come from.
TEST(ResponseScript, PrintsTheResponseThatTheCurveIsDesignedFor) {
    const TemporaryFolder folder;
    session::ChildProcess script({VELLO_RESPONSE_SCRIPT, "--gains", "6,5,3.5,1.5,0,0,-3,12"},
                                 {{"VELLO", VELLO_EXECUTABLE}, {"PATH", std::getenv("PATH")}},
                                 folder / "log");
    ASSERT_EQ(script.waitForExit(30s), 0) << script.output();
    std::istringstream lines(script.output());
    std::string heading;
    std::getline(lines, heading);
    int frequencies = 0;
    double frequency = 0.0;
    double gain = 0.0;
    for (; lines >> frequency >> gain; ++frequencies)
        EXPECT_NEAR(gain, session::designedResponse({6, 5, 3.5, 1.5, 0, 0, -3, 12}, frequency, 48000), 0.006)
            << frequency << " Hz";
    EXPECT_EQ(frequencies, 20);
    EXPECT_NE(script.output().find("delay: 0 frames"), std::string::npos);
}

} // namespace
} // namespace vello
