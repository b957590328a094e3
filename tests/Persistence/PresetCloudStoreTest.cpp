// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetCloudStore.h"

#include "support/FakeKeyValueStore.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

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
    std::string stored() { return store_.values["userEQPresets"]; }
    /// The program ends and starts again.
    void restart() { cloud_ = std::make_unique<PresetCloudStore>(store_, thread_, log_, name_); }

    FakeKeyValueStore store_;
    VirtualMainThread thread_;
    RecordingSystemLog log_;
    int names_ = 0;
    const PresetCloudStore::NameMachine name_ = [this] { return "m" + std::to_string(++names_); };
    std::unique_ptr<PresetCloudStore> cloud_ =
        std::make_unique<PresetCloudStore>(store_, thread_, log_, name_);
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
    EXPECT_THAT(store_.calls,
                ElementsAre("setData userEQPresetsJournalm1", "setData userEQPresets", "synchronize"));
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

UserEQPreset flat(const std::string& name, double gain) {
    return {name, std::vector<double>(8, gain)};
}

TEST_F(PresetCloudStoreTest, AListThatCannotBeDecodedIsKeptWhenItIsReplaced) {
    const std::string newer = R"([{"name":"a","bandGains":[1,2,3,4,5,6,7,8]},{"name":"b","bands":10}])";
    store_.values["userEQPresets"] = newer;
    cloud_->save({kRock});
    EXPECT_THAT(store_.copies["userEQPresets"], ElementsAre(newer));
    cloud_->save({kCalm});
    EXPECT_THAT(store_.copies["userEQPresets"], ElementsAre(newer));
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kCalm)));
}

TEST_F(PresetCloudStoreTest, AListWithAnotherNumberOfBandsIsKeptWhenItIsReplaced) {
    const std::string ten = R"([{"name":"a","bandGains":[1,2,3,4,5,6,7,8,9,10]}])";
    store_.values["userEQPresets"] = ten;
    cloud_->save({kRock});
    EXPECT_THAT(store_.copies["userEQPresets"], ElementsAre(ten));
}

TEST_F(PresetCloudStoreTest, TheCopiesThatAreMergedAreRemovedByTheNextSave) {
    store_.values["userEQPresets"] = R"([{"name":"b","bandGains":[1,2,3,4,5,6,7,8]}])";
    store_.copies["userEQPresets"] = {R"([{"name":"a","bandGains":[1,1,1,1,1,1,1,1]}])"};
    EXPECT_THAT(cloud_->load(), Optional(testing::UnorderedElementsAre(
                                    flat("a", 1), UserEQPreset{"b", {1, 2, 3, 4, 5, 6, 7, 8}})));
    cloud_->save(*cloud_->load(), {});
    EXPECT_THAT(store_.copies["userEQPresets"], IsEmpty());
    EXPECT_THAT(cloud_->load(), Optional(testing::SizeIs(2)));
}

TEST_F(PresetCloudStoreTest, AListFromElsewhereIsTakenAgainAndAgain) {
    observe();
    for (const int gain : {1, 2, 1, 3, 2, 1})
        store_.changeExternally("userEQPresets",
                                R"([{"name":"A","bandGains":[)" + std::to_string(gain) + ",0,0,0,0,0,0,0]}]");
    std::vector<double> gains;
    for (const Presets& presets : received_)
        gains.push_back(presets.at(0).bandGains[0]);
    EXPECT_THAT(gains, ElementsAre(1, 2, 1, 3, 2, 1));
}

TEST_F(PresetCloudStoreTest, ADeletionReachesAMachineThatHasTheListOnly) {
    cloud_->save({kRock, kCalm});
    const std::string before = stored();
    cloud_->save({kCalm}, {kRock});
    // The file of another machine arrives late.
    store_.values["userEQPresets"] = before;
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kCalm)));
    EXPECT_TRUE(cloud_->isDeleted("Rock"));
    EXPECT_FALSE(cloud_->isDeleted("Calm"));
    EXPECT_FALSE(cloud_->isDeleted("Loud"));
}

TEST_F(PresetCloudStoreTest, AnEditLeavesThePresetsThatOthersHaveEdited) {
    cloud_->save({flat("A", 1), flat("B", 1)});
    PresetCloudStore other(store_, thread_, log_, name_);
    store_.local.clear(); // the other one is another machine
    other.save({flat("A", 2), flat("B", 1)}, {flat("A", 2)});
    observe();
    cloud_->save({flat("A", 1), flat("B", 3)}, {flat("B", 3)});
    EXPECT_THAT(cloud_->load(), Optional(testing::UnorderedElementsAre(flat("A", 2), flat("B", 3))));
    EXPECT_THAT(received_, IsEmpty());
    thread_.advance({});
    EXPECT_THAT(received_, testing::SizeIs(1)) << "the list is not what was saved";
}

TEST_F(PresetCloudStoreTest, ARenamedPresetKeepsItsPlaceAlsoBeforeOnesThatItsMachineDidNotKnowOf) {
    cloud_->save({flat("A", 1), flat("B", 2)});
    FakeKeyValueStore otherStore;
    otherStore.values = store_.values;
    PresetCloudStore other(otherStore, thread_, log_, name_);
    cloud_->save({flat("A", 1), flat("B", 2), flat("C", 3)}, {flat("C", 3)});
    other.save({flat("A", 1), flat("Rock", 2)}, {flat("B", 2), flat("Rock", 2)});
    for (const auto& [key, value] : otherStore.values)
        if (key != "userEQPresets")
            store_.values.emplace(key, value);
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(flat("A", 1), flat("Rock", 2), flat("C", 3))));
}

TEST_F(PresetCloudStoreTest, AnEditSurvivesWhileTheFolderIsAway) {
    cloud_->save({flat("A", 1)});
    store_.failure = "the folder is away";
    cloud_->save({flat("A", 2)});
    EXPECT_EQ(cloud_->problem().value(), "presets not shared, because the folder is away");
    restart();
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(flat("A", 2))));
    store_.failure.reset();
    observe();
    thread_.advance({});
    EXPECT_THAT(stored(), testing::HasSubstr("[2,2,2,2,2,2,2,2]"));
    EXPECT_EQ(cloud_->problem().value(), std::nullopt);
}

TEST_F(PresetCloudStoreTest, AFailedSaveIsTriedAgainLessAndLessOften) {
    using namespace std::chrono_literals;
    store_.failure = "the disk is full";
    cloud_->save({kRock});
    std::vector<std::size_t> tries;
    for (int i = 0; i < 3; ++i) {
        store_.calls.clear();
        thread_.advance(i == 0 ? 1s : i == 1 ? 62s : 600s);
        tries.push_back(static_cast<std::size_t>(std::ranges::count(store_.calls, "synchronize")));
    }
    EXPECT_THAT(tries, ElementsAre(1, 5, 10)) << "after 1, 3, 7, 15, 31, 63 s, then every minute";
    store_.failure.reset();
    thread_.advance(60s);
    EXPECT_EQ(cloud_->problem().value(), std::nullopt);
    EXPECT_THAT(stored(), testing::HasSubstr("Rock"));
    EXPECT_EQ(thread_.pendingTaskCount(), 0U);
}

TEST_F(PresetCloudStoreTest, TwoMachinesOfTheSameNameComeToDifferentOnes) {
    cloud_->save({kRock});
    const auto local = store_.local;
    PresetCloudStore copy(store_, thread_, log_, name_);
    copy.load();
    cloud_->save({kRock, kCalm}, {kCalm});
    copy.save({kRock, flat("A", 1)}, {flat("A", 1)});
    EXPECT_TRUE(store_.values.contains("userEQPresetsJournalm2"));
    EXPECT_THAT(cloud_->load(), Optional(testing::SizeIs(3)));
    EXPECT_EQ(copy.load(), cloud_->load());
}

TEST_F(PresetCloudStoreTest, ACopiedHomeGoesOnUnderANewName) {
    cloud_->save({kRock});
    store_.isLocalCopied = true;
    restart();
    EXPECT_THAT(cloud_->load(), Optional(ElementsAre(kRock)));
    cloud_->save({kRock, kCalm}, {kCalm});
    EXPECT_TRUE(store_.values.contains("userEQPresetsJournalm1"));
    EXPECT_TRUE(store_.values.contains("userEQPresetsJournalm2"));
    store_.isLocalCopied = false;
    restart();
    cloud_->save({kRock, kCalm, flat("A", 1)}, {flat("A", 1)});
    EXPECT_EQ(names_, 2) << "the new name is kept";
    EXPECT_THAT(cloud_->load(), Optional(testing::SizeIs(3)));
}

TEST_F(PresetCloudStoreTest, TwoThatUseOneHomeAtTheSameTimeHaveDifferentNames) {
    cloud_->save({kRock});
    PresetCloudStore other(store_, thread_, log_, name_);
    other.save({kRock, kCalm}, {kCalm});
    cloud_->save({kRock, flat("A", 1)}, {flat("A", 1)});
    EXPECT_TRUE(store_.values.contains("userEQPresetsJournalm2"));
    EXPECT_THAT(cloud_->load(), Optional(testing::SizeIs(3)));
    EXPECT_EQ(other.load(), cloud_->load());
}

TEST_F(PresetCloudStoreTest, AJournalThatIsNotUnderstoodIsLoggedOnceAndKept) {
    for (
        const char* text :
        {"{}", "[]", R"({"version":2})", R"({"version":1,"machine":"m9"})",
         R"({"version":1,"machine":"m9","machines":["m9"],"seen":[-1],"presets":[],"lists":[],"written":[]})",
         R"({"version":1,"machine":"m9","machines":["m9"],"seen":[1],"presets":[{"name":"A","ordinal":0,"bandGains":[1,2,3,4,5,6,7,8],"order":[1],"kind":"saved","machine":1,"count":1}],"lists":[],"written":[]})",
         R"({"version":1,"machine":"m9","machines":["m9"],"seen":[0],"presets":[{"name":"A","ordinal":0,"bandGains":[1,2,3,4,5,6,7,8],"order":[1],"kind":"saved","machine":0,"count":1}],"lists":[],"written":[]})"}) {
        store_.values["userEQPresetsJournalm9"] = text;
        log_.clear();
        cloud_->load();
        cloud_->save({kRock});
        EXPECT_THAT(log_.messagesStartingWith("A journal of presets undecodable: "), testing::SizeIs(1))
            << text;
        EXPECT_EQ(store_.values["userEQPresetsJournalm9"], text);
    }
}

} // namespace
} // namespace vello
