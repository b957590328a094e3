// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "support/PictureContrast.h"

namespace vello {
namespace {

constexpr int kScale = 3;

/// Enlarges the screen before it exists: strokes of small letters are thinner than a usual pixel, and never
/// reach their own colour there.
[[maybe_unused]] const bool kIsEnlarged = qputenv("QT_SCALE_FACTOR", QByteArray::number(kScale));

/// Contrasts as they are in the picture, in every look, over the brightest and the darkest wallpaper.
class ContrastTest : public PanelQuickTest {
protected:
    /// Frames of motions would be drawn in this large scale too, which takes most of the time.
    ContrastTest() { scene.theme.setAppearance({.isMotionReduced = true}); }

    template <class Check> void inEveryLook(Check check) {
        scene.settle();
        for (const bool isDark : {false, true})
            for (const bool isContrastIncreased : {false, true})
                for (const QColor wallpaper : {QColor(Qt::white), QColor(Qt::black)}) {
                    SCOPED_TRACE(std::string(isDark ? "dark" : "light") +
                                 (isContrastIncreased ? " contrast" : "") + " over " +
                                 wallpaper.name().toStdString());
                    const Appearance look{.isDark = isDark,
                                          .isContrastIncreased = isContrastIncreased,
                                          .isMotionReduced = true};
                    scene.theme.setAppearance(look);
                    scene.window->setColor(wallpaper);
                    // Nothing moves, so that what is grabbed is at rest, and is drawn only once.
                    picture_ = scene.window->grabWindow().convertToFormat(QImage::Format_RGB32);
                    picture_.setDevicePixelRatio(1.0);
                    ASSERT_EQ(picture_.width(), kScale * scene.window->width());
                    check(look);
                }
    }
    /// The picture of a part of the window, in points.
    QImage cut(const QRectF& part) const {
        return picture_.copy(QRectF(part.topLeft() * kScale, part.size() * kScale).toAlignedRect() &
                             picture_.rect());
    }
    PictureColors colorsIn(const QRectF& part) const { return PictureColors(cut(part)); }
    /// Of what is drawn within the part to its most frequent colour.
    double contrastIn(const QRectF& part) const { return colorsIn(part).contrast(); }
    /// Of the left edge of a shape, at its middle, to what is left of it.
    double edgeContrast(const QRectF& shape) const {
        const QPointF middle(shape.left(), shape.center().y());
        const QRectF beside(middle - QPointF(5.0, 4.0), QSizeF(1.0, 8.0));
        const QRectF edge(middle - QPointF(0.5, 0.0), QSizeF(2.5, 0.5));
        return colorsIn(edge).largestContrastTo(colorsIn(beside).mostFrequent());
    }
    void expectTextsToBeRead(const Appearance& look) {
        const auto texts = all(QStringLiteral("Text"));
        ASSERT_FALSE(texts.empty());
        for (const QQuickItem* const text : texts) {
            const QString said = text->property("text").toString();
            if (said.isEmpty() || !text->isEnabled() || text->width() < 1.0)
                continue;
            // Two texts are dimmed by design, unless the user asks for more contrast.
            const bool isDimmed = said == QLatin1String("VELLO") || said == QLatin1String("By QUORVIN");
            EXPECT_GE(contrastIn(place(*text)),
                      isDimmed && !look.isContrastIncreased ? kMarkContrast : kTextContrast)
                << said.toStdString();
        }
    }
    void expectEdgesToBeSeen(const char* type) {
        const auto controls = all(QString::fromLatin1(type));
        ASSERT_FALSE(controls.empty()) << type;
        for (const QQuickItem* const control : controls)
            if (control->isEnabled()) {
                EXPECT_GE(edgeContrast(place(*control)), kMarkContrast)
                    << type << " at " << control->mapToScene({}).x() << ", " << control->mapToScene({}).y();
            }
    }
    void expectSymbolsToBeSeen() {
        for (const QQuickItem* const symbol : all(QStringLiteral("Symbol")))
            if (symbol->isEnabled()) {
                EXPECT_GE(contrastIn(place(*symbol)), kMarkContrast)
                    << symbol->property("name").toString().toStdString();
            }
    }
    void playTwo() {
        scene.play(102, "Other");
        scene.item("other")->setEQEnabled(false);
        openPlayer();
    }

private:
    QImage picture_;
};

TEST_F(ContrastTest, IsEnoughInAnOpenCard) {
    playTwo();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.mainThread.advance(std::chrono::seconds(1));
    scene.setLevel("player", 0.5F);
    scene.clip("player");
    scene.tickMeters();
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        expectSymbolsToBeSeen();
        for (const char* type : {"SliderThumb", "CapsuleButton", "SwitchToggle"})
            expectEdgesToBeSeen(type);
        const QRectF thumb =
            place(*only(QStringLiteral("SmallSlider")).property("handle").value<QQuickItem*>());
        EXPECT_GE(edgeContrast(thumb), kMarkContrast) << "of the volume's thumb, to the card";
        const QRectF onBar(thumb.left() - 3.0, thumb.center().y() - 0.5, 6.0, 1.0);
        const QColor bar = cut(onBar).pixelColor(0, 0);
        EXPECT_GE(colorsIn(onBar).largestContrastTo(bar), kMarkContrast) << "to its bar";
        const QQuickItem& meter = only(QStringLiteral("LevelMeterView"), &playerRow("expanded"));
        EXPECT_GE(contrastIn(place(*meter.childItems()[2]).adjusted(0, -6, 0, 6)), kMarkContrast);
    });
}

TEST_F(ContrastTest, IsEnoughForTheValueOfABand) {
    openPlayer();
    item(QStringLiteral("125 hertz band gain")).forceActiveFocus(Qt::TabFocusReason);
    scene.settle();
    ASSERT_EQ(all(QStringLiteral("BandReadout")).size(), 1U);
    inEveryLook([this](const Appearance& look) { expectTextsToBeRead(look); });
}

TEST_F(ContrastTest, IsEnoughWhileAPresetIsNamed) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Save")));
    item(QStringLiteral("Preset name")).setProperty("text", QStringLiteral("Mine"));
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        expectEdgesToBeSeen("NameField");
        expectEdgesToBeSeen("ProminentButton");
    });
}

TEST_F(ContrastTest, IsEnoughInAMenu) {
    openPlayer();
    click(item(QStringLiteral("Flat")));
    ASSERT_TRUE(waitUntil([&] { return !all(QStringLiteral("MenuList")).empty(); }));
    inEveryLook([this](const Appearance&) {
        for (const QQuickItem* const text : all(QStringLiteral("Text"), &only(QStringLiteral("MenuList"))))
            EXPECT_GE(contrastIn(place(*text)), kTextContrast)
                << text->property("text").toString().toStdString();
    });
}

TEST_F(ContrastTest, IsEnoughInAHint) {
    open();
    QQuickItem& button = item(QStringLiteral("Equalizing enabled"));
    // It comes at once, and stays for as long as the pictures take.
    for (QObject* const hint : button.findChildren<QObject*>(Qt::FindDirectChildrenOnly))
        if (hint->property("isWanted").isValid())
            hint->setProperty("delay", 0), hint->setProperty("timeout", -1);
    QTest::mouseMove(scene.window, place(button).center().toPoint());
    const QString said = button.property("hint").toString();
    const auto isShown = [&](QQuickItem* text) { return text->property("text").toString() == said; };
    ASSERT_TRUE(waitUntil([&] { return std::ranges::any_of(all(QStringLiteral("Text")), isShown); }));
    inEveryLook([&](const Appearance&) { EXPECT_GE(contrastIn(place(showing(said))), kTextContrast); });
}

TEST_F(ContrastTest, IsEnoughWhileAFileIsImported) {
    open();
    scene.model->presetImport()->offer(QStringLiteral("Open Back.txt"),
                                       "Filter 1: ON LSC Fc 105 Hz Gain 5 dB Q 0.70\n"
                                       "Filter 2: ON NO Fc 50 Hz\n");
    scene.settle();
    ASSERT_GE(scene.model->presetImport()->notes().size(), 2);
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        for (const char* type : {"NameField", "TextButton", "ProminentButton"})
            expectEdgesToBeSeen(type);
    });
}

TEST_F(ContrastTest, IsEnoughWhenAFileCannotBeImported) {
    open();
    scene.model->presetImport()->offer(QStringLiteral("x.txt"), "Filter 1: ON PK Fc loud\n");
    scene.settle();
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        expectEdgesToBeSeen("TextButton");
    });
}

class ConsentContrastTest : public ContrastTest, public testing::WithParamInterface<Consent> {};

TEST_P(ConsentContrastTest, IsEnoughWithoutConsent) {
    scene.authorization.answer = GetParam();
    open();
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        expectEdgesToBeSeen("ProminentButton");
    });
}

INSTANTIATE_TEST_SUITE_P(, ConsentContrastTest, testing::Values(Consent::undecided, Consent::denied),
                         [](const auto& consent) {
                             return consent.param == Consent::denied ? "Denied" : "Undecided";
                         });

TEST_F(ContrastTest, IsEnoughInAbout) {
    scene.openAbout();
    inEveryLook([this](const Appearance& look) {
        expectTextsToBeRead(look);
        expectSymbolsToBeSeen();
        expectEdgesToBeSeen("ProminentButton");
    });
}

} // namespace
} // namespace vello
