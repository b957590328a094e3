// SPDX-License-Identifier: Apache-2.0
#include "AudioControllerFixture.h"

#include <limits>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::vector<double> kGains{1, 2, 3, 4, 5, 6, 7, 8};
const std::vector<double> kOtherGains{8, 7, 6, 5, 4, 3, 2, 1};

/// "NAME" has kGains, "NAME'" has kOtherGains.
UserEQPreset preset(std::string_view text) {
    const bool isOther = text.ends_with('\'');
    return {std::string(text.substr(0, text.size() - (isOther ? 1 : 0))), isOther ? kOtherGains : kGains};
}

std::string json(const std::vector<UserEQPreset>& presets) {
    FakeKeyValueStore store;
    VirtualMainThread mainThread;
    RecordingSystemLog log;
    PresetCloudStore(store, mainThread, log).save(presets);
    return store.values.at("userEQPresets");
}

struct ControllerPresets : Controller {
    void startWithStored(const std::vector<UserEQPreset>& presets) {
        SettingsStore(folder.path(), mainThread, log).flush({{}, presets});
        start();
    }
    const std::vector<UserEQPreset>& presets() const { return controller->userPresets().value(); }
    void receive(const std::vector<UserEQPreset>& fromOthers) {
        cloud.changeExternally("userEQPresets", json(fromOthers));
    }
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const UserEQPreset& one : presets())
            names.push_back(one.name);
        return names;
    }
};

TEST_F(ControllerPresets, WithoutASharedListThoseOfThisMachineHold) {
    startWithStored({preset("A"), preset("B")});
    EXPECT_THAT(presets(), ElementsAre(preset("A"), preset("B")));
}

TEST_F(ControllerPresets, ASharedListGoesBeforeThoseOfThisMachineAndWinsWithEqualNames) {
    cloud.values["userEQPresets"] = json({preset("A"), preset("B")});
    startWithStored({preset("B'"), preset("C")});
    EXPECT_THAT(presets(), ElementsAre(preset("A"), preset("B"), preset("C")));
}

TEST_F(ControllerPresets, AnEmptySharedListTakesNothingAway) {
    cloud.values["userEQPresets"] = "[]";
    startWithStored({preset("A")});
    EXPECT_THAT(presets(), ElementsAre(preset("A")));
}

TEST_F(ControllerPresets, ASharedListThatCannotBeUnderstoodTakesNothingAway) {
    cloud.values["userEQPresets"] = "[{";
    startWithStored({preset("A")});
    EXPECT_THAT(presets(), ElementsAre(preset("A")));
    EXPECT_THAT(log.messagesStartingWith("iCloud presets undecodable: "), SizeIs(1));
}

TEST_F(ControllerPresets, DuplicatesWithinEitherListAreKept) {
    cloud.values["userEQPresets"] = json({preset("A"), preset("A'")});
    startWithStored({preset("B"), preset("A"), preset("B'")});
    EXPECT_THAT(presets(), ElementsAre(preset("A"), preset("A'"), preset("B"), preset("B'")));
}

TEST_F(ControllerPresets, NamesAreComparedExactly) {
    cloud.values["userEQPresets"] = json({preset("rock"), preset("Caf\u00e9")});
    startWithStored({preset("Rock"), preset("Cafe\u0301"), preset(" rock")});
    EXPECT_THAT(presets(), SizeIs(5));
}

TEST_F(ControllerPresets, TheMergedListOfTheStartIsSavedNowhere) {
    cloud.values["userEQPresets"] = json({preset("A")});
    startWithStored({preset("B")});
    const std::string before = readTestFile(settingsFile);
    mainThread.advance(1h);
    EXPECT_EQ(readTestFile(settingsFile), before);
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("A")}));
    EXPECT_THAT(cloud.calls, ElementsAre("synchronize"));
}

TEST_F(ControllerPresets, AListFromAnotherMachineIsMergedAndSavedHereButNotSentBack) {
    startWithStored({preset("B'"), preset("C")});
    cloud.calls.clear();
    receive({preset("A"), preset("B")});
    EXPECT_THAT(presets(), ElementsAre(preset("A"), preset("B"), preset("C")));
    mainThread.advance(500ms);
    EXPECT_THAT(stored().userPresets, ElementsAre(preset("A"), preset("B"), preset("C")));
    EXPECT_THAT(cloud.calls, IsEmpty());
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("A"), preset("B")}));
}

TEST_F(ControllerPresets, AListFromAnotherMachineNeverTakesOneAway) {
    startWithStored({preset("A"), preset("B")});
    receive({});
    cloud.changeExternally("userEQPresets", std::nullopt);
    cloud.changeExternally("userEQPresets", "{");
    EXPECT_THAT(presets(), ElementsAre(preset("A"), preset("B")));
}

TEST_F(ControllerPresets, WhatAnotherMachineHasDeletedOrRenamedIsGoneHereAsWell) {
    startWithStored({preset("A"), preset("B"), preset("C"), preset("D")});
    controller->saveUserPreset("D", kGains);
    struct Machine : Controller {
        void TestBody() override {}
    } other; // has the same shared data
    other.cloud.values = cloud.values;
    other.start();
    other.controller->deleteUserPreset("A");
    other.controller->renameUserPreset("B", "Rock");
    cloud.values = other.cloud.values;
    cloud.changeExternally("another key", std::nullopt);
    EXPECT_THAT(names(), ElementsAre("Rock", "C", "D"));
    mainThread.advance(500ms);
    EXPECT_THAT(stored().userPresets, SizeIs(3));
    controller.reset();
    startWithStored({preset("A"), preset("B"), preset("C"), preset("D"), preset("E")});
    EXPECT_THAT(names(), ElementsAre("Rock", "C", "D", "E"));
}

TEST_F(ControllerPresets, TheSameListAgainTellsNobody) {
    startWithStored({preset("A"), preset("B")});
    int told = 0;
    const auto observation = controller->userPresets().observe([&](const auto&) { ++told; });
    receive({preset("A"), preset("B")});
    EXPECT_EQ(told, 0);
}

TEST_F(ControllerPresets, ASavedPresetIsPublishedSavedHereAndShared) {
    start();
    cloud.calls.clear();
    controller->saveUserPreset("Rock", kGains);
    EXPECT_THAT(presets(), ElementsAre(preset("Rock")));
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("Rock")}));
    EXPECT_THAT(cloud.calls, ElementsAre(testing::StartsWith("setData userEQPresetsJournal"),
                                         "setData userEQPresets", "synchronize"));
    mainThread.advance(500ms);
    EXPECT_THAT(stored().userPresets, ElementsAre(preset("Rock")));
}

TEST_F(ControllerPresets, TheWholeMergedListIsSharedWithTheNextSave) {
    cloud.values["userEQPresets"] = json({preset("A")});
    startWithStored({preset("B")});
    controller->saveUserPreset("C", kGains);
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("A"), preset("B"), preset("C")}));
}

TEST_F(ControllerPresets, ANameThatIsSavedAgainMovesToTheEnd) {
    startWithStored({preset("Rock"), preset("Calm")});
    controller->saveUserPreset("  Rock ", kOtherGains);
    EXPECT_THAT(presets(), ElementsAre(preset("Calm"), preset("Rock'")));
}

TEST_F(ControllerPresets, EveryPresetOfTheNameIsReplaced) {
    cloud.values["userEQPresets"] = json({preset("A"), preset("B"), preset("A")});
    start();
    controller->saveUserPreset("A", kOtherGains);
    EXPECT_THAT(presets(), ElementsAre(preset("B"), preset("A'")));
}

TEST_F(ControllerPresets, ADeletedPresetIsGoneHereAndInTheSharedList) {
    startWithStored({preset("A"), preset("B"), preset("C")});
    EXPECT_TRUE(controller->deleteUserPreset("B"));
    EXPECT_THAT(names(), ElementsAre("A", "C"));
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("A"), preset("C")}));
    mainThread.advance(500ms);
    EXPECT_THAT(stored().userPresets, ElementsAre(preset("A"), preset("C")));
}

TEST_F(ControllerPresets, DeletingOrRenamingWhatIsNotThereChangesNothing) {
    startWithStored({preset("A")});
    cloud.calls.clear();
    EXPECT_FALSE(controller->deleteUserPreset("a"));
    EXPECT_FALSE(controller->renameUserPreset("B", "C"));
    EXPECT_FALSE(controller->renameUserPreset("A", " \t"));
    EXPECT_THAT(presets(), ElementsAre(preset("A")));
    EXPECT_THAT(cloud.calls, IsEmpty());
}

TEST_F(ControllerPresets, ARenamedPresetKeepsItsPlaceAndReplacesTheOneWhoseNameItTakes) {
    startWithStored({preset("A'"), preset("B"), preset("C"), preset("D")});
    EXPECT_TRUE(controller->renameUserPreset("B", "  Rock "));
    EXPECT_THAT(names(), ElementsAre("A", "Rock", "C", "D"));
    EXPECT_TRUE(controller->renameUserPreset("C", "A"));
    EXPECT_THAT(presets(), ElementsAre(preset("Rock"), preset("A"), preset("D")));
    EXPECT_TRUE(controller->renameUserPreset("A", "A"));
    EXPECT_THAT(names(), ElementsAre("Rock", "A", "D"));
}

TEST_F(ControllerPresets, ADeletedPresetComesBackInItsPlace) {
    startWithStored({preset("A"), preset("B"), preset("C")});
    controller->deleteUserPreset("B");
    controller->restoreUserPreset(preset("B"), 1);
    EXPECT_THAT(names(), ElementsAre("A", "B", "C"));
    controller->restoreUserPreset(preset("A'"), 7);
    EXPECT_THAT(presets(), ElementsAre(preset("B"), preset("C"), preset("A'")));
}

TEST_F(ControllerPresets, APresetThatIsNotSharedIsAProblemUntilItIs) {
    start();
    cloud.failure = "the folder is read-only";
    controller->saveUserPreset("Rock", kGains);
    mainThread.advance(600ms);
    ASSERT_TRUE(controller->saveProblem().value());
    EXPECT_EQ(controller->saveProblem().value()->kind, SaveProblem::Kind::notShared);
    EXPECT_EQ(sentence(*controller->saveProblem().value()),
              "presets not shared, because the folder is read-only");
    EXPECT_THAT(stored().userPresets, ElementsAre(preset("Rock")));
    cloud.failure.reset();
    mainThread.advance(2s);
    EXPECT_FALSE(controller->saveProblem().value());
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("Rock")}));
}

TEST_F(ControllerPresets, NamesThatDifferInCaseAreTwoPresets) {
    startWithStored({preset("rock")});
    controller->saveUserPreset("Rock", kGains);
    EXPECT_THAT(names(), ElementsAre("rock", "Rock"));
}

TEST_F(ControllerPresets, ABlankNameOrAnotherNumberOfGainsChangesNothing) {
    startWithStored({preset("Rock")});
    const std::string before = readTestFile(settingsFile);
    cloud.calls.clear();
    for (const char* name : {"", " ", " \t\r\n\v\f ", "\u00a0\u2003\u3000\u2028\u2029\u0085\u1680"})
        controller->saveUserPreset(name, kGains);
    controller->saveUserPreset("Rock", std::vector<double>(7, 0));
    controller->saveUserPreset("Rock", std::vector<double>(9, 0));
    controller->saveUserPreset("Rock", {});
    mainThread.advance(1h);
    EXPECT_THAT(presets(), ElementsAre(preset("Rock")));
    EXPECT_EQ(readTestFile(settingsFile), before);
    EXPECT_THAT(cloud.calls, IsEmpty());
}

TEST_F(ControllerPresets, ANameLosesTheWhiteSpaceAroundItOfWhateverKindAndKeepsThatWithin) {
    start();
    controller->saveUserPreset("\n\u3000\u00a0 My\u00a0own  curve \u2029\t", kGains);
    EXPECT_THAT(names(), ElementsAre("My\u00a0own  curve"));
}

TEST_F(ControllerPresets, CharactersThatOnlyLookEmptyAreNoWhiteSpace) {
    start();
    controller->saveUserPreset(" \u200b ", kGains);
    EXPECT_THAT(names(), ElementsAre("\u200b"));
}

TEST_F(ControllerPresets, ANameThatIsNoTextIsKeptInMemoryAndSaidInTheLog) {
    start();
    controller->saveUserPreset("Good", kGains);
    mainThread.advance(1s);
    controller->saveUserPreset(" \xff\xa0 ", kGains);
    mainThread.advance(1s);
    EXPECT_THAT(names(), ElementsAre("Good", "\xff\xa0"));
    EXPECT_THAT(log.messagesStartingWith("Failed to encode presets for iCloud: "), SizeIs(1));
    EXPECT_THAT(log.messagesStartingWith("Failed to save settings: "), SizeIs(1));
    EXPECT_EQ(cloud.values["userEQPresets"], json({preset("Good")}));
    EXPECT_THAT(stored().userPresets, ElementsAre(preset("Good")));
}

TEST_F(ControllerPresets, APresetMayBeSavedFromOneOfTheList) {
    startWithStored({preset("A"), preset("B")});
    controller->saveUserPreset(presets()[0].name, presets()[0].bandGains);
    EXPECT_THAT(presets(), ElementsAre(preset("B"), preset("A")));
}

} // namespace
} // namespace vello
