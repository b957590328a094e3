// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "UI/Appearance/ColorContrast.h"

#include <map>

namespace vello {
namespace {

constexpr int kScale = 3;

/// Enlarges the screen before it exists: strokes of small letters are thinner than a usual pixel, and never
/// reach their own colour there.
[[maybe_unused]] const bool kIsEnlarged = qputenv("QT_SCALE_FACTOR", QByteArray::number(kScale));

QRgb mostFrequent(const QImage& image) {
    std::map<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    return std::ranges::max_element(counts, {}, &std::pair<const QRgb, int>::second)->first;
}

double largestContrast(const QImage& image, const QColor& ground) {
    double largest = 1.0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            largest = std::max(largest, contrastRatio(QColor(image.pixel(x, y)), ground));
    return largest;
}

/// Contrasts as they are in the picture, in every look, over the brightest and the darkest wallpaper.
class ContrastTest : public PanelQuickTest {
protected:
    template <class Check> void inEveryLook(Check check) {
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
                    picture_ = scene.picture().convertToFormat(QImage::Format_RGB32);
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
    /// Of what is drawn within the part to its most frequent colour.
    double contrastIn(const QRectF& part) const {
        const QImage image = cut(part);
        return largestContrast(image, QColor(mostFrequent(image)));
    }
    /// Of the left edge of a shape, at its middle, to what is left of it.
    double edgeContrast(const QRectF& shape) const {
        const QPointF middle(shape.left(), shape.center().y());
        const QColor ground(mostFrequent(cut(QRectF(middle - QPointF(5.0, 4.0), QSizeF(1.0, 8.0)))));
        return largestContrast(cut(QRectF(middle - QPointF(0.5, 0.0), QSizeF(2.5, 0.5))), ground);
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
        const QImage onBar = cut(QRectF(thumb.left() - 3.0, thumb.center().y() - 0.5, 6.0, 1.0));
        EXPECT_GE(largestContrast(onBar, onBar.pixelColor(0, 0)), kMarkContrast) << "to its bar";
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
    scene.theme.setAppearance({.isMotionReduced = true}); // the menu is there at once
    click(item(QStringLiteral("Flat")));
    ASSERT_TRUE(waitUntil([&] { return !all(QStringLiteral("MenuList")).empty(); }));
    inEveryLook([this](const Appearance&) {
        for (const QQuickItem* const text : all(QStringLiteral("Text"), &only(QStringLiteral("MenuList"))))
            EXPECT_GE(contrastIn(place(*text)), kTextContrast)
                << text->property("text").toString().toStdString();
    });
}

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
