// SPDX-License-Identifier: Apache-2.0
#include "PanelScene.h"

#include "Foundation/Localization.h"

#include <gmock/gmock.h>
#include <QSignalSpy>

#include <limits>

namespace vello {
namespace {

using testing::ElementsAre;

class PanelModelTest : public testing::Test {
protected:
    std::vector<std::string> listed() {
        std::vector<std::string> ids;
        scene.model->sources()->forEach([&ids](SourceItem& item) { ids.push_back(item.source().id); });
        return ids;
    }
    EqualizerModel& equalizer(const std::string& id) { return *scene.item(id)->equalizer(); }
    EQSettings settings(const std::string& id) { return scene.controller->settings(id); }

    PanelScene scene;
};

TEST_F(PanelModelTest, ListsTheSystemFirstAndThenWhatPlays) {
    EXPECT_THAT(listed(), ElementsAre(std::string(kSystemSourceID)));
    scene.play(101, "Player");
    scene.play(102, "Browser");
    EXPECT_EQ(listed().front(), kSystemSourceID);
    EXPECT_THAT(listed(), testing::UnorderedElementsAre(std::string(kSystemSourceID), "player", "browser"));
    EXPECT_EQ(scene.model->sources()->count(), 3);
}

TEST_F(PanelModelTest, KeepsTheItemOfASourceThatStays) {
    scene.play(101, "Player");
    SourceItem* const player = scene.item("player");
    scene.play(102, "Browser");
    scene.play(103, "Editor");
    EXPECT_EQ(scene.item("player"), player);
}

TEST_F(PanelModelTest, OpensOneCardAtATime) {
    scene.play(101, "Player");
    scene.play(102, "Browser");
    scene.item("player")->toggle();
    EXPECT_TRUE(scene.item("player")->isExpanded());
    EXPECT_EQ(scene.model->headerTitleExpansion(), 1.0);
    EXPECT_EQ(scene.controller->activeSourceID().value(), "player");
    scene.item("browser")->toggle();
    EXPECT_FALSE(scene.item("player")->isExpanded());
    EXPECT_TRUE(scene.item("browser")->isExpanded());
    EXPECT_EQ(scene.model->headerTitleExpansion(), 1.0);
    scene.item("browser")->toggle();
    EXPECT_FALSE(scene.item("browser")->isExpanded());
    EXPECT_EQ(scene.model->headerTitleExpansion(), 0.0);
    EXPECT_EQ(scene.controller->activeSourceID().value(), std::nullopt);
}

TEST_F(PanelModelTest, KeepsTheOpenCardOfASourceThatIsAwayForAWhile) {
    const AudioObjectID process = scene.hardware.addProcess({.pid = 101, .bundleID = "player"});
    scene.mainThread.advance(std::chrono::milliseconds(300));
    const std::string id = listed().back();
    scene.item(id)->toggle();
    scene.hardware.removeObject(process);
    scene.mainThread.advance(std::chrono::milliseconds(300));
    EXPECT_EQ(scene.item(id), nullptr);
    EXPECT_EQ(scene.model->headerTitleExpansion(), 1.0);
    EXPECT_EQ(scene.controller->activeSourceID().value(), id);
}

TEST_F(PanelModelTest, BypassesWithTheSwitchOfTheCard) {
    scene.play(101, "Player");
    SourceItem& player = *scene.item("player");
    EXPECT_TRUE(player.isEQEnabled());
    QSignalSpy changes(&player, &SourceItem::settingsChanged);
    player.setEQEnabled(false);
    EXPECT_TRUE(settings("player").isBypassed);
    EXPECT_FALSE(player.isEQEnabled());
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(PanelModelTest, EditsOneBandAndClampsWhatIsOutsideOfTheSlider) {
    scene.play(101, "Player");
    const auto bands = equalizer("player").findChildren<BandModel*>();
    ASSERT_EQ(bands.size(), 8);
    bands[2]->edit(4.5);
    bands[7]->edit(99.0);
    bands[0]->edit(std::numeric_limits<double>::quiet_NaN());
    EXPECT_THAT(settings("player").bandGains, ElementsAre(0, 0, 4.5, 0, 0, 0, 0, 12));
    EXPECT_EQ(bands[2]->gain(), 4.5);
}

TEST_F(PanelModelTest, NamesTheCurveAndOffersToSaveAnUnknownOne) {
    EqualizerModel& model = equalizer(std::string(kSystemSourceID));
    EXPECT_EQ(model.currentPresetName(), "Flat");
    EXPECT_TRUE(model.isFlat());
    EXPECT_FALSE(model.isUnsavedCustomCurve());
    model.findChildren<BandModel*>()[0]->edit(1e-9);
    EXPECT_EQ(model.currentPresetName(), "Custom");
    EXPECT_TRUE(model.isUnsavedCustomCurve());
    EXPECT_FALSE(model.savePreset(QStringLiteral(" \t\n ")));
    EXPECT_TRUE(model.savePreset(QStringLiteral("  Mine\n")));
    EXPECT_EQ(model.currentPresetName(), "Mine");
    EXPECT_FALSE(model.isUnsavedCustomCurve());
}

TEST_F(PanelModelTest, ListsBuiltInPresetsThenTheUsersOwn) {
    EqualizerModel& model = equalizer(std::string(kSystemSourceID));
    scene.controller->saveUserPreset("Mine", std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
    const auto& entries = model.presets()->entries();
    ASSERT_EQ(entries.size(), 8U);
    EXPECT_EQ(entries[0].title, "Flat");
    EXPECT_TRUE(entries[0].isChecked);
    EXPECT_FALSE(entries[5].startsGroup);
    EXPECT_EQ(entries[6], (MenuEntry{QStringLiteral("Mine"), false, true, MenuEntry::Kind::editable}));
    EXPECT_EQ(entries[7], (MenuEntry{QStringLiteral("Import…"), false, true, MenuEntry::Kind::action}));
    model.presets()->choose(6);
    EXPECT_EQ(model.currentPresetName(), "Mine");
    EXPECT_TRUE(model.presets()->entries()[6].isChecked);
    model.presets()->choose(2);
    EXPECT_EQ(model.currentPresetName(), "Bass Boost");
}

TEST_F(PanelModelTest, GlidesToAPresetButFollowsAHandAtOnce) {
    EqualizerModel& model = equalizer(std::string(kSystemSourceID));
    const auto bands = model.findChildren<BandModel*>();
    EXPECT_FALSE(bands[0]->isGliding());
    model.presets()->choose(2);
    EXPECT_TRUE(bands[0]->isGliding());
    bands[0]->edit(3.0);
    EXPECT_FALSE(bands[0]->isGliding());
}

TEST_F(PanelModelTest, ResetsTheCurveAndNothingElse) {
    EqualizerModel& model = equalizer(std::string(kSystemSourceID));
    EQSettings before;
    before.bandGains[3] = 5;
    before.volume = 0.4;
    before.outputDeviceUID = "headphones";
    scene.controller->updateSettings(before, std::string(kSystemSourceID));
    model.reset();
    EXPECT_TRUE(model.isFlat());
    EXPECT_EQ(settings(std::string(kSystemSourceID)).volume, 0.4);
    EXPECT_EQ(settings(std::string(kSystemSourceID)).outputDeviceUID, "headphones");
}

TEST_F(PanelModelTest, RoutesToADeviceAndBackToTheAutomaticOutput) {
    scene.play(101, "Player");
    EqualizerModel& model = equalizer("player");
    const auto titles = [&] {
        QStringList all;
        for (const MenuEntry& entry : model.routes()->entries())
            all.append(entry.title);
        return all;
    };
    ASSERT_EQ(titles().size(), 4);
    EXPECT_EQ(titles()[0], "Automatic");
    EXPECT_TRUE(titles().contains(QStringLiteral("Built-in Speakers (Default)")));
    EXPECT_TRUE(model.routes()->entries()[0].isChecked);
    EXPECT_EQ(model.currentOutputRouteName(), "Automatic");

    const auto headphones = static_cast<int>(titles().indexOf(QStringLiteral("Studio Headphones")));
    model.routes()->choose(headphones);
    EXPECT_EQ(settings("player").outputDeviceUID, "headphones");
    EXPECT_EQ(scene.item("player")->outputRouteName(), "Studio Headphones");
    EXPECT_TRUE(model.routes()->entries()[static_cast<std::size_t>(headphones)].isChecked);
    model.routes()->choose(0);
    EXPECT_EQ(settings("player").outputDeviceUID, std::nullopt);
    EXPECT_EQ(scene.item("player")->outputRouteName(), "");
}

TEST_F(PanelModelTest, SaysWhenTheChosenOutputIsGone) {
    scene.play(101, "Player");
    EQSettings gone;
    gone.outputDeviceUID = "unplugged";
    scene.controller->updateSettings(gone, "player");
    EXPECT_EQ(scene.item("player")->outputRouteName(), "Unavailable Output");
    for (const MenuEntry& entry : equalizer("player").routes()->entries())
        EXPECT_FALSE(entry.isChecked);
}

TEST_F(PanelModelTest, ReadsMetersOnlyWhileThePanelIsShown) {
    scene.play(101, "Player");
    scene.mainThread.advance(std::chrono::seconds(1));
    scene.hearNoise(0.05);
    scene.setLevel("player", 0.5F);
    scene.tickMeters();
    EXPECT_FALSE(scene.item("player")->hasLevel());
    scene.model->setShown(true);
    scene.tickMeters();
    EXPECT_TRUE(scene.item("player")->hasLevel());
    EXPECT_NEAR(scene.item("player")->level(), 0.5, 1.0 / 72.0);
    scene.model->setShown(false);
    scene.setLevel("player", 0.9F);
    scene.tickMeters();
    EXPECT_NEAR(scene.item("player")->level(), 0.5, 1.0 / 72.0);
}

TEST_F(PanelModelTest, DoesNotFollowTheMetersOfOthersWhileItIsHidden) {
    scene.play(101, "Player");
    scene.mainThread.advance(std::chrono::seconds(1));
    scene.hearNoise(0.05);
    scene.setLevel("player", 0.5F);
    int ticks = 0;
    QObject::connect(scene.item("player")->clock(), &FrameClock::ticked, [&ticks] { ++ticks; });
    const MeterAudience::Seat other = scene.meters->join();
    scene.tickMeters();
    EXPECT_TRUE(scene.controller->level("player"));
    EXPECT_FALSE(scene.item("player")->hasLevel());
    EXPECT_EQ(ticks, 0);
    scene.model->setShown(true);
    EXPECT_NEAR(scene.item("player")->level(), 0.5, 1.0 / 72.0) << "at once";
    scene.tickMeters();
    EXPECT_EQ(ticks, 1);
}

TEST_F(PanelModelTest, TicksWithEveryUpdateOfTheMetersAfterTheirValues) {
    scene.play(101, "Player");
    scene.mainThread.advance(std::chrono::seconds(1));
    scene.hearNoise(0.05);
    scene.model->setShown(true);
    std::vector<double> levels;
    std::vector<FrameClock::Instant> times;
    const FrameClock& clock = *scene.item("player")->clock();
    QObject::connect(&clock, &FrameClock::ticked, [&] {
        levels.push_back(scene.item("player")->level());
        times.push_back(clock.now());
    });
    for (const float level : {0.25F, 0.5F, 0.5F}) {
        scene.setLevel("player", level);
        scene.tickMeters();
        EXPECT_EQ(times.back(), scene.mainThread.now());
    }
    EXPECT_EQ(levels, std::vector<double>({0.25, 0.5, 0.5}));
}

TEST_F(PanelModelTest, LooksAgainAtWhatTheSystemAllowsWhenItIsShown) {
    scene.authorization.answer = Consent::denied;
    scene.loginItem.current = LoginItem::Status::enabled;
    EXPECT_TRUE(scene.model->isAuthorized());
    scene.model->setShown(true);
    EXPECT_FALSE(scene.model->isAuthorized());
    EXPECT_TRUE(scene.model->isDenied());
    EXPECT_TRUE(scene.model->launchesAtLogin());
}

TEST_F(PanelModelTest, SaysWhenLaunchAtLoginCouldNotBeChanged) {
    scene.loginItem.failsToChange = true;
    scene.model->setLaunchesAtLogin(true);
    EXPECT_FALSE(scene.model->launchesAtLogin());
    EXPECT_TRUE(scene.model->didFailToUpdateLaunch());
    scene.loginItem.failsToChange = false;
    scene.model->setLaunchesAtLogin(true);
    EXPECT_TRUE(scene.model->launchesAtLogin());
    EXPECT_FALSE(scene.model->didFailToUpdateLaunch());
}

TEST_F(PanelModelTest, SaysWhyChangesAreNotSavedInTheUsersLanguage) {
    QSignalSpy changes(scene.model.get(), &PanelModel::saveProblemChanged);
    EXPECT_EQ(scene.model->saveProblem(), "");
    std::filesystem::create_directories(scene.folder / "EQ by QUORVIN");
    SettingsLock other(scene.folder / "EQ by QUORVIN/settings.json.lock");
    ASSERT_EQ(other.acquire(), SettingsLock::State::held);
    EXPECT_TRUE(scene.controller->save());
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(scene.model->saveProblem(), "Not saved: another VELLO uses the settings.");
    setLanguage("de");
    EXPECT_EQ(scene.model->saveProblem(),
              QStringLiteral("Nicht gespeichert: Ein anderes VELLO nutzt die Einstellungen."));
    setLanguage("en");
}

TEST_F(PanelModelTest, SwitchesAllEqualizing) {
    QSignalSpy changes(scene.model.get(), &PanelModel::processingEnabledChanged);
    scene.model->setProcessingEnabled(false);
    EXPECT_FALSE(scene.controller->isProcessingEnabled().value());
    EXPECT_EQ(changes.count(), 1);
}

} // namespace
} // namespace vello
