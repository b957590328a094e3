// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "Foundation/Localization.h"

namespace vello {
namespace {

const auto kLanguages = testing::ValuesIn(languages());

std::string nameOf(const testing::TestParamInfo<std::string_view>& info) {
    return std::string(info.param);
}

constexpr char kUsersName[] = "Mine"; ///< may be cut

constexpr char kTwoPresets[] = R"({"format": "vello-presets", "version": 1, "presets": [
    {"name": "One", "bandGains": [0, 0, 0, 0, 0, 0, 0, 1]},
    {"name": "Two", "bandGains": [0, 0, 0, 0, 0, 0, 0, 2]}]})";

/// What a screen of 540 points leaves beside a bar of 32 and the gaps at both edges.
constexpr double kLowScreen = 492.0;

/// The panel with as much content as possible, in each language and at each text size.
class TextSizesTest : public PanelQuickTest, public testing::WithParamInterface<std::string_view> {
protected:
    void SetUp() override { setLanguage(GetParam()); }
    void TearDown() override {
        setLanguage("en");
        PanelQuickTest::TearDown();
    }

    static QRectF written(const QQuickItem& text) {
        const double scale = text.width() > 0.0 ? place(text).width() / text.width() : 1.0;
        const QSizeF size =
            QSizeF(text.property("contentWidth").toDouble(), text.property("contentHeight").toDouble()) *
            scale;
        return QRectF(place(text).center() - QPointF(size.width(), size.height()) / 2.0, size);
    }
    /// Checks that no text of the view is cut, leaves the window's surface or overlaps another one.
    void expectRoomForTexts(const QString& view, const QRectF& surface) {
        const std::vector<QQuickItem*> texts = all(QStringLiteral("Text"), &only(view));
        ASSERT_FALSE(texts.empty());
        for (std::size_t one = 0; one < texts.size(); ++one) {
            const std::string said = texts[one]->property("text").toString().toStdString();
            const QRectF room = place(*texts[one]);
            EXPECT_LE(written(*texts[one]).width(), room.width() + 1.0) << said;
            EXPECT_FALSE(texts[one]->property("truncated").toBool() && said != kUsersName) << said;
            EXPECT_GE(room.left(), surface.left()) << said;
            EXPECT_LE(room.right(), surface.right()) << said;
            for (std::size_t other = 0; other < one; ++other)
                EXPECT_FALSE(written(*texts[one]).adjusted(1, 1, -1, -1).intersects(written(*texts[other])))
                    << said << " and " << texts[other]->property("text").toString().toStdString();
        }
    }
    /// Runs `check` at each size, which is changed while the window is open.
    template <class Check> void atEachSize(Check check) {
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            SCOPED_TRACE(scale);
            scene.theme.setAppearance(
                {.isMotionReduced = true, .isRightToLeft = isLanguageRightToLeft(), .fontScale = scale});
            scene.settle();
            check();
        }
    }
    QRectF panel() { return place(only(QStringLiteral("MenuPanelView"))); }
    void expectOnLowScreen() {
        EXPECT_LE(panel().height(), kLowScreen);
        EXPECT_LE(place(only(QStringLiteral("PanelFooter"))).bottom(), panel().bottom() - 11.0);
    }
};

TEST_P(TextSizesTest, HaveRoomInAnOpenCard) {
    scene.play(101, "Player");
    open();
    SourceItem& player = *scene.item("player");
    player.toggle();
    scene.settle();
    EQSettings settings = scene.controller->settings("player");
    settings.bandGains.front() = 3.5;
    scene.controller->updateSettings(settings, "player");
    scene.mainThread.advance(std::chrono::seconds(1)); // the tap applies its settings
    scene.hearBeats(120.0, 6.0);
    scene.setLevel("player", 0.5F);
    scene.tickMeters();
    scene.settle();
    ASSERT_TRUE(player.equalizer()->hasTempo());
    atEachSize([this] {
        EXPECT_EQ(panel().width(), 344.0);
        expectRoomForTexts(QStringLiteral("EQPanelView"), place(only(QStringLiteral("EQPanelView"))));
        expectRoomForTexts(QStringLiteral("PanelHeader"), panel());
        EXPECT_FALSE(showing(QString::fromStdString(localized("Custom"))).property("truncated").toBool());
        const QQuickItem& save = item(QString::fromStdString(localized("Save")));
        const QQuickItem& reset = item(QString::fromStdString(localized("Reset")));
        EXPECT_FALSE(place(save).intersects(place(reset)));
        EXPECT_EQ(place(save).center().x() > place(reset).center().x(), isLanguageRightToLeft());
        expectRoomForTexts(QStringLiteral("PanelFooter"), panel());
    });
}

TEST_P(TextSizesTest, LeaveANameWholeThatHasRoom) {
    scene.play(101, "Player");
    open();
    atEachSize([this] { EXPECT_FALSE(showing(QStringLiteral("Player")).property("truncated").toBool()); });
}

/// With a note of every kind.
constexpr char kManyNotes[] = "Preamp: -6.2 dB\n"
                              "Channel: L\n"
                              "Filter 1: ON LSC Fc 105 Hz Gain 36 dB Q 0.70\n"
                              "Channel: all\n"
                              "Filter 2: ON NO Fc 50 Hz\n"
                              "Filter 3: ON PK Fc 30000 Hz Gain 3 dB Q 1\n"
                              "Filter 4: ON HSC Fc 15000 Hz Gain 20 dB Q 0.70\n"
                              "Convolution: room.wav\n";

TEST_P(TextSizesTest, HaveRoomForAnImportOnALowScreen) {
    open();
    scene.window->setProperty("availableHeight", kLowScreen);
    PresetImport& import = *scene.model->presetImport();
    import.offer(QStringLiteral("Open Back.txt"), kManyNotes);
    ASSERT_GE(import.notes().size(), 7);
    atEachSize([&] {
        expectOnLowScreen();
        const QQuickItem& view = only(QStringLiteral("PresetImportView"));
        const QRectF save = place(only(QStringLiteral("ProminentButton"), &view));
        EXPECT_LE(save.bottom(), place(view).bottom() - 12.0);
        const QQuickItem& report = only(QStringLiteral("ScrollArea"), &view);
        EXPECT_LE(place(report).bottom(), save.top());
        EXPECT_GE(place(showing(import.summary(), &report)).top(), place(report).top() - 0.5);
        for (int step = 0; step < 100; ++step)
            QTest::keyClick(scene.window, Qt::Key_Down);
        EXPECT_LE(place(showing(import.notes().last(), &report)).bottom(), place(report).bottom() + 0.5);
        for (int step = 0; step < 100; ++step)
            QTest::keyClick(scene.window, Qt::Key_Up);
    });
}

TEST_P(TextSizesTest, HaveRoomInTheAboutWindow) {
    scene.openAbout();
    scene.settle();
    atEachSize([this] {
        expectRoomForTexts(QStringLiteral("AboutVelloView"), QRectF(QPointF(), scene.window->size()));
    });
}

TEST_P(TextSizesTest, HaveRoomInAPanelWithoutSoundThatReportsProblems) {
    std::filesystem::create_directories(scene.folder / "EQ by QUORVIN");
    SettingsLock other(scene.folder / "EQ by QUORVIN/settings.json.lock");
    ASSERT_EQ(other.acquire(), SettingsLock::State::held);
    scene.loginItem.failsToChange = true;
    open();
    scene.model->setLaunchesAtLogin(true);
    scene.controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    scene.mainThread.advance(std::chrono::seconds(5)); // the settings cannot be saved
    scene.settle();
    showing(QString::fromStdString(localized("Not saved: another VELLO uses the settings.")));
    showing(QString::fromStdString(localized("Could not update launch setting.")));
    showing(QString::fromStdString(localized("No apps are playing audio right now.")));
    atEachSize([this] { expectRoomForTexts(QStringLiteral("MenuPanelView"), panel()); });
}

TEST_P(TextSizesTest, HaveRoomInTheImportOfPresets) {
    open();
    for (const char* file :
         {"Preamp: -6.2 dB\nFilter 1: ON LSC Fc 105 Hz Gain 5.0 dB Q 0.70\nFilter 3: ON NO Fc 50 Hz\n",
          "Filter 1: ON PK Fc loud\n", kTwoPresets}) {
        scene.model->presetImport()->offer(QStringLiteral("Headphones.txt"), file);
        atEachSize([this] { expectRoomForTexts(QStringLiteral("PresetImportView"), panel()); });
    }
}

TEST_P(TextSizesTest, HaveRoomInTheMenusAndWhereAPresetIsNamed) {
    scene.play(101, "Player");
    scene.controller->saveUserPreset(kUsersName, std::vector<double>{2, 1, 0, 0, 1, 1, 0, -2});
    open();
    scene.item("player")->toggle();
    scene.settle();
    const auto hasRoomIn = [this](const QString& view) {
        atEachSize([this, &view] { expectRoomForTexts(view, panel()); });
    };
    click(item(QString::fromStdString(EQPreset(EQPreset::flat).displayName())));
    hasRoomIn(QStringLiteral("MenuList"));
    MenuModel& presets = *scene.item("player")->equalizer()->presets();
    const auto mine = std::ranges::find(presets.entries(), QString::fromUtf8(kUsersName), &MenuEntry::title);
    presets.requestDeletion(static_cast<int>(mine - presets.entries().begin()));
    scene.settle();
    showing(QString::fromStdString(localized("Undo")));
    hasRoomIn(QStringLiteral("MenuList"));
    press(Qt::Key_Escape);
    click(item(QString::fromStdString(localized("Output route"))));
    showing(QString::fromStdString(localized("Automatic")), &only(QStringLiteral("MenuList")));
    press(Qt::Key_Escape);
    EQSettings settings = scene.controller->settings("player");
    settings.bandGains.front() = 3.5;
    scene.controller->updateSettings(settings, "player");
    scene.settle();
    click(item(QString::fromStdString(localized("Save"))));
    hasRoomIn(QStringLiteral("PresetNamingRow"));
}

INSTANTIATE_TEST_SUITE_P(Languages, TextSizesTest, kLanguages, nameOf);

class UndecidedTextSizesTest : public TextSizesTest {
protected:
    UndecidedTextSizesTest() { scene.authorization.answer = Consent::undecided; }
};

TEST_P(UndecidedTextSizesTest, HaveRoomBeforeTheQuestionForTheConsent) {
    open();
    atEachSize([this] { expectRoomForTexts(QStringLiteral("MenuPanelView"), panel()); });
}

INSTANTIATE_TEST_SUITE_P(Languages, UndecidedTextSizesTest, kLanguages, nameOf);

/// While the panel asks for consent. The view is highest after it was denied.
class DeniedTextSizesTest : public TextSizesTest {
protected:
    DeniedTextSizesTest() { scene.authorization.answer = Consent::denied; }
};

TEST_P(DeniedTextSizesTest, HaveRoomInTheQuestionForTheConsent) {
    open();
    atEachSize([this] { expectRoomForTexts(QStringLiteral("MenuPanelView"), panel()); });
}

TEST_P(DeniedTextSizesTest, HaveRoomForTheQuestionOnALowScreen) {
    open();
    scene.window->setProperty("availableHeight", kLowScreen);
    atEachSize([this] {
        expectRoomForTexts(QStringLiteral("PermissionOnboardingView"), panel());
        expectOnLowScreen();
        only(QStringLiteral("ProminentButton")).forceActiveFocus(Qt::TabFocusReason);
        const QRectF view =
            place(*only(QStringLiteral("PermissionOnboardingView")).parentItem()->parentItem());
        const QRectF button = place(only(QStringLiteral("ProminentButton")));
        EXPECT_GE(button.top(), view.top());
        EXPECT_LE(button.bottom(), view.bottom());
        item(QString::fromStdString(localized("Quit"))).forceActiveFocus(Qt::TabFocusReason);
    });
}

INSTANTIATE_TEST_SUITE_P(Languages, DeniedTextSizesTest, kLanguages, nameOf);

} // namespace
} // namespace vello
