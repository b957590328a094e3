// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/ServiceLoginItem.h"

#include "support/FakeLoginItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Status = LoginItem::Status;

constexpr char kUnit[] = "vello-panel.service";
constexpr char kTarget[] = "graphical-session.target";

/// Knows one unit, which has the state that the test sets, and records the calls that change it.
class FakeUserServices final : public UserServices {
public:
    std::string state;     ///< of kUnit
    bool isStarted = true; ///< whether the session has reached kTarget
    bool failsToChange = false;
    std::vector<std::string> calls;

    bool isActive(const std::string& unit) override { return unit == kTarget && isStarted; }
    std::string fileState(const std::string& unit) override { return unit == kUnit ? state : ""; }
    void enable(const std::string& unit) override { change("enable " + unit, "enabled"); }
    void disable(const std::string& unit) override { change("disable " + unit, "disabled"); }

private:
    void change(const std::string& call, const char* changed) {
        calls.push_back(call);
        if (failsToChange)
            throw std::runtime_error("the unit is masked");
        state = changed;
    }
};

class ServiceLoginItemTest : public testing::Test {
protected:
    FakeUserServices services_;
    FakeLoginItem entry_;
    ServiceLoginItem item_{services_, entry_, kUnit, kTarget};
};

TEST_F(ServiceLoginItemTest, IsTheUnitWhereTheServiceManagerStartsTheSession) {
    services_.state = "disabled";
    EXPECT_EQ(item_.status(), Status::notRegistered);
    item_.registerItem();
    EXPECT_EQ(item_.status(), Status::enabled);
    EXPECT_THAT(services_.calls, ElementsAre("enable vello-panel.service"));
    EXPECT_EQ(entry_.current, Status::notRegistered);
    item_.unregisterItem();
    EXPECT_EQ(item_.status(), Status::notRegistered);
    EXPECT_EQ(services_.state, "disabled");
}

TEST_F(ServiceLoginItemTest, IsTheEntryWithoutAServiceManager) {
    item_.registerItem();
    EXPECT_EQ(item_.status(), Status::enabled);
    EXPECT_EQ(entry_.current, Status::enabled);
    item_.unregisterItem();
    EXPECT_EQ(item_.status(), Status::notRegistered);
    EXPECT_THAT(services_.calls, IsEmpty());
}

TEST_F(ServiceLoginItemTest, IsTheEntryInASessionThatTheServiceManagerDoesNotStart) {
    services_.state = "disabled";
    services_.isStarted = false;
    item_.registerItem();
    EXPECT_EQ(entry_.current, Status::enabled);
    EXPECT_EQ(services_.state, "disabled");
}

TEST_F(ServiceLoginItemTest, ReplacesAnEntryFromBefore) {
    services_.state = "disabled";
    entry_.current = Status::enabled;
    EXPECT_EQ(item_.status(), Status::enabled) << "the desktop starts it";
    item_.registerItem();
    EXPECT_EQ(services_.state, "enabled");
    EXPECT_EQ(entry_.current, Status::notRegistered) << "two would start it";
}

TEST_F(ServiceLoginItemTest, ReplacesAUnitThatThisSessionDoesNotStart) {
    services_.state = "enabled";
    services_.isStarted = false;
    EXPECT_EQ(item_.status(), Status::notRegistered);
    item_.registerItem();
    EXPECT_EQ(entry_.current, Status::enabled);
    EXPECT_EQ(services_.state, "disabled") << "two would start it in another session";
}

TEST_F(ServiceLoginItemTest, EndsBothWaysOfStarting) {
    services_.state = "enabled";
    entry_.current = Status::enabled;
    item_.unregisterItem();
    EXPECT_EQ(services_.state, "disabled");
    EXPECT_EQ(entry_.current, Status::notRegistered);
}

TEST_F(ServiceLoginItemTest, KeepsTheEntryWhereTheServiceManagerRefuses) {
    services_.state = "masked";
    services_.failsToChange = true;
    entry_.current = Status::enabled;
    EXPECT_THROW(item_.registerItem(), std::runtime_error);
    EXPECT_EQ(item_.status(), Status::enabled);
    EXPECT_THAT(entry_.calls, IsEmpty());
}

} // namespace
} // namespace vello
