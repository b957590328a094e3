// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "Foundation/Localization.h"

namespace vello {
namespace {

const auto kLanguages = testing::ValuesIn(languages());

std::string nameOf(const testing::TestParamInfo<std::string_view>& info) {
    return std::string(info.param);
}

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
    /// Checks that no text of the view is truncated, leaves the window's surface or overlaps another one.
    void expectRoomForTexts(const QString& view, const QRectF& surface) {
        const std::vector<QQuickItem*> texts = all(QStringLiteral("Text"), &only(view));
        ASSERT_FALSE(texts.empty());
        for (std::size_t one = 0; one < texts.size(); ++one) {
            const std::string said = texts[one]->property("text").toString().toStdString();
            const QRectF room = place(*texts[one]);
            EXPECT_LE(written(*texts[one]).width(), room.width() + 1.0) << said;
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
            scene.theme.setAppearance({.isMotionReduced = true, .fontScale = scale});
            scene.settle();
            check();
        }
    }
    QRectF panel() { return place(only(QStringLiteral("MenuPanelView"))); }
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
        EXPECT_LT(place(save).right(), place(item(QString::fromStdString(localized("Reset")))).left());
        expectRoomForTexts(QStringLiteral("PanelFooter"), panel());
    });
}

TEST_P(TextSizesTest, LeaveANameWholeThatHasRoom) {
    scene.play(101, "Player");
    open();
    atEachSize([this] { EXPECT_FALSE(showing(QStringLiteral("Player")).property("truncated").toBool()); });
}

TEST_P(TextSizesTest, HaveRoomInTheAboutWindow) {
    scene.openAbout();
    scene.settle();
    atEachSize([this] {
        expectRoomForTexts(QStringLiteral("AboutVelloView"), QRectF(QPointF(), scene.window->size()));
    });
}

INSTANTIATE_TEST_SUITE_P(Languages, TextSizesTest, kLanguages, nameOf);

/// While the panel asks for consent.
class DeniedTextSizesTest : public TextSizesTest {
protected:
    DeniedTextSizesTest() { scene.authorization.answer = Consent::denied; }
};

TEST_P(DeniedTextSizesTest, HaveRoomInTheQuestionForTheConsent) {
    open();
    atEachSize([this] { expectRoomForTexts(QStringLiteral("PermissionOnboardingView"), panel()); });
}

INSTANTIATE_TEST_SUITE_P(Languages, DeniedTextSizesTest, kLanguages, nameOf);

} // namespace
} // namespace vello
