// SPDX-License-Identifier: Apache-2.0
// The user's presets in the panel: deleting with a way back, renaming, and files that are imported.
#include "PanelQuickTest.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QMimeData>
#include <QSignalSpy>

namespace vello {
namespace {

const std::vector<double> kFirst{1, 0, 0, 0, 0, 0, 0, 0};
const std::vector<double> kSecond{2, 0, 0, 0, 0, 0, 0, 0};

class PresetMenuTest : public PanelQuickTest {
protected:
    /// Opens the menu of a card whose curve is flat, with the presets "First" and "Second".
    void openMenu() {
        scene.controller->saveUserPreset("First", kFirst);
        scene.controller->saveUserPreset("Second", kSecond);
        openPlayer();
        click(item(QStringLiteral("Flat")));
        ASSERT_TRUE(waitUntil([&] { return scene.named(QStringLiteral("First")) != nullptr; }));
    }
    void markFirst() {
        for (int row = 0; row < 7; ++row)
            press(Qt::Key_Down);
    }
    /// An item with this name, or null when it is not on the screen.
    QQuickItem* shown(const char* name) const {
        QQuickItem* const found = scene.named(QString::fromUtf8(name));
        return found && found->isVisible() ? found : nullptr;
    }
    std::vector<std::string> presetNames() {
        std::vector<std::string> names;
        for (const UserEQPreset& preset : scene.controller->userPresets().value())
            names.push_back(preset.name);
        return names;
    }
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(PresetMenuTest, OffersToRenameAndToDeleteTheMarkedPresetOfTheUserOnly) {
    openMenu();
    EXPECT_FALSE(shown("Delete First"));
    press(Qt::Key_Down);
    EXPECT_FALSE(shown("Delete Flat"));
    for (int row = 0; row < 6; ++row)
        press(Qt::Key_Down);
    EXPECT_TRUE(shown("Rename First"));
    EXPECT_TRUE(shown("Delete First"));
    EXPECT_FALSE(shown("Delete Second"));
    QTest::mouseMove(scene.window, at(item(QStringLiteral("Second")), 20, 10));
    scene.settle();
    EXPECT_TRUE(shown("Delete Second"));
    EXPECT_FALSE(shown("Delete First"));
}

TEST_F(PresetMenuTest, DeletesByAClickAndTakesItBackInTheSamePlace) {
    openMenu();
    markFirst();
    const QRectF before = place(item(QStringLiteral("First")));
    click(item(QStringLiteral("Delete First")));
    EXPECT_THAT(presetNames(), ElementsAre("Second"));
    QQuickItem& undo = item(QStringLiteral("Undo deleting First"));
    EXPECT_EQ(place(undo), before);
    EXPECT_EQ(gains()[0], 0.0) << "the entry was chosen as well";
    click(undo);
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
    EXPECT_EQ(scene.controller->userPresets().value()[0].bandGains, kFirst);
    EXPECT_TRUE(shown("Second")) << "the menu has closed";
}

TEST_F(PresetMenuTest, DeletesAndTakesBackByKeyboard) {
    openMenu();
    markFirst();
    press(Qt::Key_Delete);
    EXPECT_THAT(presetNames(), ElementsAre("Second"));
    press(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
    press(Qt::Key_Tab);
    EXPECT_TRUE(item(QStringLiteral("Rename First")).hasActiveFocus());
    press(Qt::Key_Tab);
    EXPECT_TRUE(item(QStringLiteral("Delete First")).hasActiveFocus());
    press(Qt::Key_Space);
    EXPECT_THAT(presetNames(), ElementsAre("Second"));
    press(Qt::Key_Space);
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
}

TEST_F(PresetMenuTest, DeletesByScreenReader) {
    openMenu();
    markFirst();
    auto* const actions =
        QAccessible::queryAccessibleInterface(&item(QStringLiteral("Delete First")))->actionInterface();
    ASSERT_TRUE(actions);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_THAT(presetNames(), ElementsAre("Second"));
}

TEST_F(PresetMenuTest, LeavesBuiltInPresetsAloneWhateverKeyIsPressed) {
    openMenu();
    press(Qt::Key_Down);
    press(Qt::Key_Delete);
    press(Qt::Key_F2);
    EXPECT_TRUE(shown("Flat"));
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
}

TEST_F(PresetMenuTest, StopsOfferingToTakeADeletionBackAfterFiveSeconds) {
    openMenu();
    markFirst();
    press(Qt::Key_Delete);
    EqualizerModel& equalizer = *scene.item("player")->equalizer();
    const qint64 begun = frames.elapsed();
    // The five seconds are those of frames, which a busy machine draws slowly.
    ASSERT_TRUE(waitUntil([&] { return !equalizer.hasDeletedPreset(); }, std::chrono::seconds(60)));
    EXPECT_NEAR(static_cast<double>(frames.elapsed() - begun), 5000.0, 200.0);
    EXPECT_FALSE(scene.named(QStringLiteral("Undo deleting First")));
    EXPECT_THAT(presetNames(), ElementsAre("Second"));
}

TEST_F(PresetMenuTest, StopsOfferingToTakeADeletionBackWhenTheCardCloses) {
    openMenu();
    markFirst();
    press(Qt::Key_Delete);
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return all(QStringLiteral("MenuList")).empty(); }));
    scene.item("player")->toggle();
    scene.settle();
    EXPECT_FALSE(scene.item("player")->equalizer()->hasDeletedPreset());
}

TEST_F(PresetMenuTest, AppliesThePresetsAroundADeletedOne) {
    openMenu();
    markFirst();
    press(Qt::Key_Delete);
    click(item(QStringLiteral("Second")));
    EXPECT_EQ(gains(), kSecond);
}

TEST_F(PresetMenuTest, RenamesInTheRowThatNames) {
    openMenu();
    markFirst();
    click(item(QStringLiteral("Rename First")));
    ASSERT_TRUE(waitUntil([&] { return shown("Preset name") && shown("Preset name")->hasActiveFocus(); }));
    EXPECT_EQ(shown("Preset name")->property("text").toString(), "First");
    EXPECT_EQ(shown("Preset name")->property("selectedText").toString(), "First");
    press(Qt::Key_N);
    press(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("n", "Second"));
    EXPECT_FALSE(shown("Preset name"));
}

TEST_F(PresetMenuTest, RenamesByKeyboardAndNotToTheNameOfAnother) {
    openMenu();
    markFirst();
    press(Qt::Key_F2);
    ASSERT_TRUE(waitUntil([&] { return shown("Preset name") && shown("Preset name")->hasActiveFocus(); }));
    for (const char* name : {"Second", " Second ", " "}) {
        shown("Preset name")->setProperty("text", QString::fromLatin1(name));
        EXPECT_FALSE(item(QStringLiteral("Rename")).isEnabled()) << name;
        press(Qt::Key_Return);
    }
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
    press(Qt::Key_Escape);
    EXPECT_FALSE(shown("Preset name"));
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second"));
}

TEST_F(PresetMenuTest, BeginsWithAnEmptyNameWhenACurveIsSavedAfterARenaming) {
    openMenu();
    markFirst();
    press(Qt::Key_F2);
    ASSERT_TRUE(waitUntil([&] { return shown("Preset name") && shown("Preset name")->hasActiveFocus(); }));
    press(Qt::Key_Escape);
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Save")));
    EXPECT_EQ(item(QStringLiteral("Preset name")).property("text").toString(), "");
    press(Qt::Key_X);
    press(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second", "x"));
}

TEST_F(PresetMenuTest, AsksForAFileWithItsLastEntry) {
    openMenu();
    QSignalSpy requests(scene.model.get(), &PanelModel::presetFileRequested);
    click(item(QStringLiteral("Import…")));
    EXPECT_EQ(requests.count(), 1);
    EXPECT_EQ(gains(), std::vector<double>(8, 0.0));
}

class PresetImportTest : public PresetMenuTest {
protected:
    void openWith(const char* content) {
        scene.play(101, "Player");
        open();
        scene.model->presetImport()->offer(QStringLiteral("Open Back ParametricEQ.txt"), content);
        scene.settle();
    }
    QUrl file(const std::string& name, const std::string& content) {
        writeTestFile(scene.folder / name, content);
        return QUrl::fromLocalFile(QString::fromStdString((scene.folder / name).string()));
    }
    void drop(const QUrl& url) {
        QMimeData data;
        data.setUrls({url});
        const QPoint place(150, 60);
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(scene.window, &enter);
        ASSERT_TRUE(enter.isAccepted());
        QDropEvent dropped(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(scene.window, &dropped);
        scene.settle();
    }
};

constexpr char kExact[] = "Preamp: -6 dB\nFilter 1: ON PK Fc 63 Hz Gain 3 dB Q 1.41\n";
constexpr char kShelf[] = "Filter 1: ON LSC Fc 105 Hz Gain 5 dB Q 0.70\n";

TEST_F(PresetImportTest, SaysHowCloseTheBandsComeBeforeItSaves) {
    openWith(kShelf);
    EXPECT_TRUE(shown("The bands differ from the file’s curve by 0.5 dB RMS, at most by 2.9 dB at 40 Hz."));
    EXPECT_TRUE(shown("Below 40 Hz, where there is no band, the file differs by up to 4.6 dB."));
    EXPECT_THAT(presetNames(), IsEmpty());
    EXPECT_TRUE(item(QStringLiteral("Preset name")).hasActiveFocus());
    press(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("Open Back"));
    EXPECT_TRUE(shown("Player, collapsed")) << "the list is back";
}

TEST_F(PresetImportTest, SavesUnderTheNameThatTheUserGivesUnlessItIsABuiltInPresets) {
    openWith(kExact);
    EXPECT_TRUE(shown("The bands follow the file’s curve exactly."));
    QQuickItem& name = item(QStringLiteral("Preset name"));
    for (const char* refused : {"", " ", "flat", " bassBoost", "two\u2028lines"}) {
        name.setProperty("text", QString::fromUtf8(refused));
        EXPECT_FALSE(item(QStringLiteral("Save")).isEnabled()) << refused;
    }
    name.setProperty("text", QStringLiteral("Mine"));
    click(item(QStringLiteral("Save")));
    EXPECT_THAT(scene.controller->userPresets().value(),
                ElementsAre(UserEQPreset{"Mine", {3, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(PresetImportTest, SavesNothingWhenItIsCanceled) {
    openWith(kExact);
    press(Qt::Key_Escape);
    EXPECT_FALSE(scene.model->presetImport()->isOpen());
    openWith(kExact);
    click(item(QStringLiteral("Cancel")));
    EXPECT_FALSE(scene.model->presetImport()->isOpen());
    EXPECT_THAT(presetNames(), IsEmpty());
}

TEST_F(PresetImportTest, SaysWhyAFileCannotBeImported) {
    openWith("Filter 1: ON PK Fc loud\n");
    EXPECT_TRUE(shown(
        "The filter in line 1 (“loud”) has no frequency such as Fc 100 Hz. Correct or remove the line."));
    EXPECT_FALSE(shown("Save"));
    press(Qt::Key_Return);
    EXPECT_FALSE(scene.model->presetImport()->isOpen());
}

TEST_F(PresetImportTest, SavesAllPresetsOfAFileUnlessAnyNameCannotBeUsed) {
    openWith(R"([{"name": "One", "bandGains": [1, 0, 0, 0, 0, 0, 0, 0]},
                 {"name": "Two", "bandGains": [2, 0, 0, 0, 0, 0, 0, 0]}])");
    EXPECT_TRUE(shown("The file holds 2 presets."));
    EXPECT_FALSE(shown("Preset name"));
    press(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("One", "Two"));
    scene.model->presetImport()->offer(QStringLiteral("x.json"),
                                       R"([{"name": "Three", "bandGains": [1, 0, 0, 0, 0, 0, 0, 0]},
                                           {"name": "flat", "bandGains": [2, 0, 0, 0, 0, 0, 0, 0]}])");
    scene.settle();
    EXPECT_FALSE(item(QStringLiteral("Save")).isEnabled());
}

TEST_F(PresetImportTest, TakesAFileThatIsDroppedOnThePanel) {
    scene.play(101, "Player");
    open();
    drop(file("Dropped.txt", kExact));
    EXPECT_EQ(item(QStringLiteral("Preset name")).property("text").toString(), "Dropped");
    drop(file("Other.txt", kExact));
    EXPECT_EQ(item(QStringLiteral("Preset name")).property("text").toString(), "Other");
    drop(QUrl::fromLocalFile(QStringLiteral("/nowhere/x.txt")));
    EXPECT_TRUE(shown("The file cannot be read. Choose another."));
    drop(QUrl(QStringLiteral("https://example.org/x.txt")));
    EXPECT_TRUE(shown("The file cannot be read. Choose another."));
}

} // namespace
} // namespace vello
