// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetCloudStore.h"

#include "support/FakeKeyValueStore.h"
#include "support/RecordingSystemLog.h"

#include <gmock/gmock.h>

#include <limits>
#include <memory>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using Presets = PresetCloudStore::Presets;

const UserEQPreset kRock{"Rock", {1, 2, 3, 4, 5, 6, 7, 8.25}};
const UserEQPreset kCalm{"Calm", {0, 0, 0, -0.5, 0, 0, 0, 0}};

class PresetCloudStoreTest : public testing::Test {
protected:
    void observe() {
        cloud_->setOnExternalChange([this](const Presets& presets) { received_.push_back(presets); });
        cloud_->startObserving();
    }
    std::string stored() { return store_.data("userEQPresets").value_or(""); }

    FakeKeyValueStore store_;
    RecordingSystemLog log_;
    std::unique_ptr<PresetCloudStore> cloud_ = std::make_unique<PresetCloudStore>(store_, log_);
    std::vector<Presets> received_;
};

TEST_F(PresetCloudStoreTest, NothingIsLoadedWhereNobodyEverSharedAList) {
    EXPECT_EQ(cloud_->load(), std::nullopt);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PresetCloudStoreTest, AnEmptyListIsAList) {
    store_.values["userEQPresets"] = "[]";
    EXPECT_THAT(cloud_->load(), Optional(IsEmpty()));
}

TEST_F(PresetCloudStoreTest, ASavedListLoadsAsItWas) {
    cloud_->save({kRock, kCalm, kRock});
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kRock, kCalm, kRock)));
}

TEST_F(PresetCloudStoreTest, TheListIsStoredAsCompactJSONInItsOrderAndThenSynchronized) {
    cloud_->save({kRock, kCalm});
    EXPECT_EQ(stored(), R"([{"name":"Rock","bandGains":[1,2,3,4,5,6,7,8.25]},)"
                        R"({"name":"Calm","bandGains":[0,0,0,-0.5,0,0,0,0]}])");
    EXPECT_THAT(store_.calls, ElementsAre("setData userEQPresets", "synchronize"));
}

TEST_F(PresetCloudStoreTest, ASaveReplacesTheWholeList) {
    cloud_->save({kRock, kCalm});
    cloud_->save({kCalm});
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kCalm)));
}

TEST_F(PresetCloudStoreTest, APresetWithAnotherNumberOfBandsIsDropped) {
    store_.values["userEQPresets"] = R"([{"name":"a","bandGains":[1,2,3,4,5]},
        {"name":"b","bandGains":[1,2,3,4,5,6,7,8]},{"name":"c","bandGains":[1,2,3,4,5,6,7,8,9]}])";
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(UserEQPreset{"b", {1, 2, 3, 4, 5, 6, 7, 8}})));
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PresetCloudStoreTest, ANameIsTakenAsItIsAlsoAnEmptyOne) {
    store_.values["userEQPresets"] = R"([{"name":"","bandGains":[1,2,3,4,5,6,7,8]}])";
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(UserEQPreset{"", {1, 2, 3, 4, 5, 6, 7, 8}})));
}

TEST_F(PresetCloudStoreTest, WhatIsNoListOfPresetsIsLoggedAndLoadsAsNothing) {
    for (const char* text : {"", "{", "{}", "null", "[1]", R"([{"name":"a"}])", R"([{"bandGains":[]}])",
                             R"([{"name":7,"bandGains":[]}])", R"([{"name":"a","bandGains":["loud"]}])",
                             "[\"\xff\"]", R"([{"name":"b","bandGains":[1,2,3,4,5,6,7,8]},)"}) {
        log_.clear();
        store_.values["userEQPresets"] = text;
        EXPECT_EQ(cloud_->load(), std::nullopt) << text;
        ASSERT_EQ(log_.lines().size(), 1U) << text;
        EXPECT_THAT(log_.messagesStartingWith("iCloud presets undecodable: "), testing::SizeIs(1)) << text;
        EXPECT_EQ(log_.lines()[0].level, LogLevel::error);
        EXPECT_EQ(log_.lines()[0].category, "PresetCloudStore");
    }
}

TEST_F(PresetCloudStoreTest, AListThatCannotBeWrittenIsLoggedAndLeavesTheOneBefore) {
    cloud_->save({kRock});
    store_.calls.clear();
    cloud_->save({{"bad", {1, 2, 3, 4, 5, 6, 7, std::numeric_limits<double>::quiet_NaN()}}});
    cloud_->save({{"bad \xff", {1, 2, 3, 4, 5, 6, 7, 8}}});
    EXPECT_THAT(log_.messagesStartingWith("Failed to encode presets for iCloud: "), testing::SizeIs(2));
    EXPECT_THAT(log_.messages(LogLevel::error), testing::SizeIs(2));
    EXPECT_THAT(store_.calls, IsEmpty());
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kRock)));
}

TEST_F(PresetCloudStoreTest, AListFromAnotherMachineIsHandedOn) {
    observe();
    store_.changeExternally("userEQPresets", R"([{"name":"b","bandGains":[1,2,3,4,5,6,7,8]}])");
    store_.changeExternally("userEQPresets", "[]");
    EXPECT_THAT(received_, ElementsAre(ElementsAre(UserEQPreset{"b", {1, 2, 3, 4, 5, 6, 7, 8}}), IsEmpty()));
}

TEST_F(PresetCloudStoreTest, AnExternalChangeToNothingOrToNonsenseIsIgnored) {
    observe();
    store_.changeExternally("userEQPresets", std::nullopt);
    store_.changeExternally("userEQPresets", "nonsense");
    EXPECT_THAT(received_, IsEmpty());
}

TEST_F(PresetCloudStoreTest, AnyNoticeHandsTheListOnWhateverItIsAbout) {
    cloud_->save({kRock});
    observe();
    store_.changeExternally("another key", "anything");
    EXPECT_THAT(received_, ElementsAre(ElementsAre(kRock)));
}

TEST_F(PresetCloudStoreTest, ObservingBeginsOnceAndLooksOnceForWhatIsThere) {
    observe();
    cloud_->startObserving();
    EXPECT_THAT(store_.calls, ElementsAre("synchronize"));
    store_.changeExternally("userEQPresets", "[]");
    EXPECT_EQ(received_.size(), 1U);
}

TEST_F(PresetCloudStoreTest, WithoutAnybodyToTellAnExternalChangeIsHarmless) {
    cloud_->startObserving();
    store_.changeExternally("userEQPresets", "[]");
    EXPECT_THAT(cloud_->load(), Optional(IsEmpty()));
}

TEST_F(PresetCloudStoreTest, NothingIsHandedOnOnceTheStoreIsGone) {
    observe();
    cloud_.reset();
    EXPECT_FALSE(store_.isObserved());
    store_.changeExternally("userEQPresets", "[]");
    EXPECT_THAT(received_, IsEmpty());
}

} // namespace
} // namespace vello
