// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/LaunchAtLoginController.h"

#include "support/FakeLoginItem.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Status = LoginItem::Status;

class LaunchAtLogin : public testing::Test {
protected:
    FakeLoginItem item_;
    LaunchAtLoginController controller_{item_};
    std::vector<std::string> told_;
    Observation enabled_ = controller_.isEnabled().observe(
        [this](bool is) { told_.emplace_back(is ? "enabled" : "not enabled"); });
    Observation failed_ = controller_.didFailToUpdate().observe(
        [this](bool did) { told_.emplace_back(did ? "failed" : "not failed"); });
};

TEST_F(LaunchAtLogin, IsNotEnabledBeforeTheFirstLook) {
    item_.current = Status::enabled;
    EXPECT_FALSE(controller_.isEnabled().value());
    EXPECT_FALSE(controller_.didFailToUpdate().value());
}

TEST_F(LaunchAtLogin, OnlyAnEnabledItemReadsAsEnabled) {
    for (const Status status :
         {Status::notRegistered, Status::enabled, Status::requiresApproval, Status::notFound}) {
        item_.current = status;
        controller_.refresh();
        EXPECT_EQ(controller_.isEnabled().value(), status == Status::enabled);
    }
}

TEST_F(LaunchAtLogin, EnablingRegistersAndDisablingUnregisters) {
    controller_.setEnabled(true);
    EXPECT_TRUE(controller_.isEnabled().value());
    controller_.setEnabled(false);
    EXPECT_FALSE(controller_.isEnabled().value());
    EXPECT_THAT(item_.calls, ElementsAre("register", "unregister"));
    EXPECT_THAT(told_, ElementsAre("enabled", "not enabled"));
}

TEST_F(LaunchAtLogin, AnItemThatWaitsForApprovalIsNeitherEnabledNorAFailure) {
    item_.afterRegistration = Status::requiresApproval;
    controller_.setEnabled(true);
    EXPECT_FALSE(controller_.isEnabled().value());
    EXPECT_FALSE(controller_.didFailToUpdate().value());
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(LaunchAtLogin, AFailedRegistrationLeavesTheItemOffAndSaysSo) {
    item_.failsToChange = true;
    controller_.setEnabled(true);
    EXPECT_FALSE(controller_.isEnabled().value());
    EXPECT_THAT(told_, ElementsAre("failed"));
}

TEST_F(LaunchAtLogin, AFailedUnregistrationLeavesItOnUntilALaterChangeClearsTheFailure) {
    controller_.setEnabled(true);
    item_.failsToChange = true;
    controller_.setEnabled(false);
    controller_.setEnabled(false);
    EXPECT_TRUE(controller_.isEnabled().value());
    EXPECT_TRUE(controller_.didFailToUpdate().value());
    item_.failsToChange = false;
    controller_.setEnabled(true);
    EXPECT_FALSE(controller_.didFailToUpdate().value());
    EXPECT_THAT(told_, ElementsAre("enabled", "failed", "not failed"));
}

TEST_F(LaunchAtLogin, LookingAgainClearsNoFailure) {
    item_.failsToChange = true;
    controller_.setEnabled(true);
    controller_.refresh();
    EXPECT_TRUE(controller_.didFailToUpdate().value());
}

TEST_F(LaunchAtLogin, LookingAgainWithoutAChangeTellsNobody) {
    item_.current = Status::enabled;
    for (int look = 0; look < 3; ++look)
        controller_.refresh();
    EXPECT_THAT(told_, ElementsAre("enabled"));
}

} // namespace
} // namespace vello
