// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "UI/Panel/GlassSurface.h"
#include "UI/Panel/SpringFollower.h"

#include <gmock/gmock.h>

#include <cmath>

namespace vello {
namespace {

using testing::ElementsAre;

/// Sizes and positions of the panel's parts, in points.
class PanelLayoutTest : public PanelQuickTest {
protected:
    QRectF panel() { return place(only(QStringLiteral("MenuPanelView"))); }
    QQuickItem& header() { return only(QStringLiteral("PanelHeader")); }
    QQuickItem& footer() { return only(QStringLiteral("PanelFooter")); }
    QQuickItem& playerCard() {
        for (QQuickItem* const card : all(QStringLiteral("SourceSection")))
            if (card->property("source").value<SourceItem*>() == scene.item("player"))
                return *card;
        throw std::runtime_error("the player has no card");
    }
    double radius(const QQuickItem& card) {
        return only(QStringLiteral("NimboGlassModifier"), &card).property("radius").toDouble();
    }
    /// The items in the header of the player's card, from its leading edge.
    std::vector<QQuickItem*> line() {
        const QQuickItem& row = only(QStringLiteral("AppRowView"), &playerCard());
        QList<QQuickItem*> items = all(QStringLiteral("RowLayout"), &row).front()->childItems();
        items.removeIf([](const QQuickItem* item) { return !item->isVisible(); });
        return {items.begin(), items.end()};
    }
    void routePlayer() {
        EQSettings settings = scene.controller->settings("player");
        settings.outputDeviceUID = "headphones";
        scene.controller->updateSettings(settings, "player");
    }
    void letPlayerSound() {
        scene.mainThread.advance(std::chrono::seconds(1));
        scene.hearNoise(0.05);
        scene.setLevel("player", 0.5F);
        scene.tickMeters();
        scene.settle();
    }
};

double gapBelow(const QRectF& above, const QRectF& below) {
    return below.top() - above.bottom();
}

/// Parameters of the springs that belong to the item itself.
std::vector<std::pair<double, double>> springs(const QQuickItem& item) {
    std::vector<std::pair<double, double>> found;
    for (const SpringFollower* const spring : item.findChildren<SpringFollower*>(Qt::FindDirectChildrenOnly))
        found.emplace_back(spring->response(), spring->dampingFraction());
    return found;
}

std::pair<double, double> spring(const QQuickItem& item) {
    const auto found = springs(item);
    if (found.size() != 1)
        throw std::runtime_error("not one spring but " + std::to_string(found.size()));
    return found[0];
}

TEST_F(PanelLayoutTest, StacksHeaderListAndFooterTenPointsApartWithinTwelve) {
    scene.play(101, "Player");
    open();
    const QRectF list = place(only(QStringLiteral("SourceList")));
    EXPECT_EQ(panel().width(), 344.0);
    EXPECT_EQ(place(header()).topLeft() - panel().topLeft(), QPointF(12.0, 12.0));
    EXPECT_EQ(header().width(), 320.0);
    EXPECT_EQ(gapBelow(place(header()), list), 10.0);
    EXPECT_EQ(gapBelow(list, place(footer())), 10.0);
    EXPECT_NEAR(panel().bottom() - place(footer()).bottom(), 12.0, 1.0); // it ends at a whole pixel
}

TEST_F(PanelLayoutTest, MixesNoPixelsOfASymbolUnlessItTurns) {
    open();
    ASSERT_EQ(scene.window->effectiveDevicePixelRatio(), 1.0);
    for (QQuickItem* const symbol : all(QStringLiteral("Symbol"))) {
        const QString name = symbol->property("name").toString();
        EXPECT_EQ(symbol->width(), std::round(symbol->width())) << name.toStdString();
        EXPECT_FALSE(symbol->smooth()) << name.toStdString();
        symbol->setRotation(100.0);
        EXPECT_TRUE(symbol->smooth()) << name.toStdString();
        symbol->setRotation(180.0);
        EXPECT_FALSE(symbol->smooth()) << name.toStdString();
    }
}

TEST_F(PanelLayoutTest, CentresTheTitleBetweenTwoSlots) {
    open();
    const QRectF bounds = place(header());
    const QRectF title = place(item(QStringLiteral("VELLO")));
    EXPECT_EQ(title.center().x(), bounds.center().x());
    EXPECT_EQ(title.width(), 320.0 - 2 * (4.0 + 28.0 + 8.0));
    const auto symbols = all(QStringLiteral("Symbol"), &header());
    ASSERT_EQ(symbols.size(), 2U);
    EXPECT_EQ(symbols[0]->property("name").toString(), "ellipsis.circle");
    EXPECT_EQ(symbols[0]->property("pointSize").toDouble(), scene.theme.headline());
    EXPECT_NEAR(place(*symbols[0]).left(), bounds.left() + 4.0, 1e-9);
    EXPECT_EQ(symbols[1]->property("name").toString(), "power");
    EXPECT_NEAR(place(*symbols[1]).right(), bounds.right() - 4.0, 1e-9);
    for (const char* button : {"About VELLO", "Equalizing enabled"})
        EXPECT_EQ(item(QString::fromLatin1(button)).parentItem()->width(), 28.0);
}

TEST_F(PanelLayoutTest, KeepsTheTitleInTheMiddleWithoutTheMasterSwitch) {
    scene.authorization.answer = Consent::denied;
    open();
    EXPECT_FALSE(scene.named(QStringLiteral("Equalizing enabled")));
    EXPECT_EQ(place(item(QStringLiteral("VELLO"))).center().x(), place(header()).center().x());
    EXPECT_EQ(item(QStringLiteral("VELLO")).width(), 240.0);
}

TEST_F(PanelLayoutTest, LetsALongTitleShrinkToThreeQuarters) {
    open();
    const QQuickItem& title = item(QStringLiteral("VELLO"));
    EXPECT_EQ(title.property("minimumPixelSize").toInt(), std::lround(scene.theme.headline() * 0.75));
    EXPECT_EQ(title.property("maximumLineCount").toInt(), 1);
}

TEST_F(PanelLayoutTest, NeverMakesTheListLowerThanFiftyTwoPoints) {
    open();
    const QQuickItem& list = only(QStringLiteral("SourceList"));
    EXPECT_EQ(list.property("listContentHeight").toDouble(), 38.0);
    EXPECT_EQ(list.height(), 52.0);
    const QQuickItem& nothingPlays = item(QStringLiteral("No apps are playing audio right now."));
    EXPECT_EQ(nothingPlays.width(), 320.0);
    EXPECT_EQ(nothingPlays.property("bottomPadding").toDouble(), 6.0);
    EXPECT_EQ(nothingPlays.property("horizontalAlignment").toInt(), Qt::AlignHCenter);
}

TEST_F(PanelLayoutTest, PadsAndRoundsAnOpenCardMoreThanAClosedOne) {
    scene.play(101, "Player");
    open();
    const QRectF closed = place(playerCard());
    EXPECT_EQ(closed.height(), 22.0 + 2 * 8.0);
    EXPECT_EQ(radius(playerCard()), 14.0);
    click(playerRow());
    const QRectF opened = place(playerCard());
    const QRectF icon = place(*line().front());
    EXPECT_EQ(icon.topLeft() - opened.topLeft(), QPointF(12.0, 12.0));
    const QRectF equalizer = place(only(QStringLiteral("EQPanelView"), &playerCard()));
    EXPECT_EQ(gapBelow(icon, equalizer), 12.0);
    EXPECT_EQ(equalizer.left() - opened.left(), 12.0);
    EXPECT_EQ(opened.right() - equalizer.right(), 12.0);
    EXPECT_EQ(opened.bottom() - equalizer.bottom(), 12.0);
    EXPECT_EQ(radius(playerCard()), 20.0);
}

TEST_F(PanelLayoutTest, PutsTenPointsBetweenThePartsOfALine) {
    scene.play(101, "Player");
    routePlayer();
    open();
    letPlayerSound();
    const auto parts = line();
    ASSERT_EQ(parts.size(), 7U);
    EXPECT_EQ(parts[0]->size(), QSizeF(22.0, 22.0));
    EXPECT_GE(parts[2]->width(), 8.0); // space between the name and the items at the other edge
    EXPECT_EQ(parts[3]->width(), 72.0);
    EXPECT_EQ(parts[4]->size(), QSizeF(36.0, 4.0));
    for (std::size_t index = 1; index < parts.size(); ++index) {
        const double padding = index == 4 ? 4.0 : 0.0; // after the route
        EXPECT_NEAR(place(*parts[index]).left() - place(*parts[index - 1]).right(), 10.0 + padding, 1e-9)
            << index;
    }
    EXPECT_NEAR(place(playerCard()).right() - place(*parts[6]).right(), 12.0, 1e-9);
}

TEST_F(PanelLayoutTest, GivesNoRoomToAMeterWithoutALevelNorToARouteThatIsAutomatic) {
    scene.play(101, "Player");
    open();
    EXPECT_EQ(line().size(), 5U);
    EXPECT_TRUE(all(QStringLiteral("LevelMeterView")).empty());
    EXPECT_TRUE(all(QStringLiteral("RouteLabel")).empty());
}

TEST_F(PanelLayoutTest, ShowsTheRouteInTheLineOfAClosedCardOnly) {
    scene.play(101, "Player");
    routePlayer();
    open();
    EXPECT_TRUE(scene.named(QStringLiteral("Output: Studio Headphones")));
    click(playerRow());
    EXPECT_FALSE(scene.named(QStringLiteral("Output: Studio Headphones")));
}

TEST_F(PanelLayoutTest, FillsAMeterAsFarAsItsLevelGoes) {
    scene.play(101, "Player");
    open();
    letPlayerSound();
    const QQuickItem& meter = only(QStringLiteral("LevelMeterView"));
    const QList<QQuickItem*> bars = meter.childItems();
    ASSERT_EQ(bars.size(), 3) << "track, level, warning";
    EXPECT_EQ(bars[0]->width(), 36.0);
    for (int tick = 0; tick < 3; ++tick)
        scene.tickMeters();
    EXPECT_EQ(bars[1]->width(), 18.0);
    for (const QQuickItem* const bar : bars) {
        EXPECT_EQ(bar->height(), 4.0);
        EXPECT_EQ(bar->property("radius").toDouble(), 2.0);
    }
}

TEST_F(PanelLayoutTest, TurnsTheChevronRoundWhenTheCardOpens) {
    scene.play(101, "Player");
    open();
    EXPECT_EQ(line().back()->property("name").toString(), "chevron.down");
    EXPECT_EQ(line().back()->rotation(), 0.0);
    click(playerRow());
    EXPECT_EQ(line().back()->rotation(), 180.0);
}

TEST_F(PanelLayoutTest, MarksTheSystemAndAnApplicationWithoutAnIcon) {
    scene.play(101, "Player");
    open();
    const auto symbol = [this](const char* row) {
        const QQuickItem* const found =
            all(QStringLiteral("Symbol"), &item(QString::fromLatin1(row))).front();
        EXPECT_EQ(found->property("pointSize").toDouble(), 14.0);
        return std::pair(found->property("name").toString(), found->property("color").value<QColor>().rgba());
    };
    EXPECT_EQ(symbol("System, collapsed"),
              std::pair(QStringLiteral("speaker.wave.2.fill"), scene.theme.accent().rgba()));
    EXPECT_EQ(symbol("Player, collapsed"),
              std::pair(QStringLiteral("app.dashed"), scene.theme.secondary().rgba()));
    const auto weight = [this](const char* name) {
        return showing(QString::fromLatin1(name)).property("font").value<QFont>().weight();
    };
    EXPECT_EQ(weight("System"), QFont::Medium);
    EXPECT_EQ(weight("Player"), QFont::Normal);
}

TEST_F(PanelLayoutTest, StacksTheFooterFivePointsApart) {
    scene.loginItem.failsToChange = true;
    scene.play(101, "Player");
    open();
    click(item(QStringLiteral("Launch at Login")));
    const QRectF bounds = place(footer());
    const QRectF failure = place(item(QStringLiteral("Could not update launch setting.")));
    const QRectF maker = place(item(QStringLiteral("By QUORVIN")));
    EXPECT_EQ(failure.left() - bounds.left(), 4.0);
    EXPECT_EQ(maker.left() - bounds.left(), 4.0);
    const QRectF launch = place(*footer().childItems().front());
    EXPECT_EQ(gapBelow(launch, failure), 5.0);
    EXPECT_EQ(gapBelow(failure, place(*item(QStringLiteral("By QUORVIN")).parentItem())), 5.0);
    EXPECT_EQ(item(QStringLiteral("By QUORVIN")).opacity(), 0.85);
}

TEST_F(PanelLayoutTest, EndsTheFooterWithQuitAndItsChevron) {
    open();
    const QQuickItem& quit = item(QStringLiteral("Quit"));
    EXPECT_EQ(place(footer()).right() - place(quit).right(), 4.0);
    const QQuickItem& chevron = only(QStringLiteral("Symbol"), &quit);
    EXPECT_EQ(chevron.property("pointSize").toDouble(), 8.0);
    EXPECT_EQ(place(chevron).left() - place(showing(QStringLiteral("Quit"), &quit)).right(), 3.0);
}

TEST_F(PanelLayoutTest, MovesOnTheSpringsThatItIsMeantToMoveOn) {
    openPlayer();
    using Spring = std::pair<double, double>;
    EXPECT_EQ(spring(header()), Spring(0.256, 1.0));
    EXPECT_EQ(spring(playerCard()), Spring(0.26, 0.85));
    const auto ofABand = springs(*all(QStringLiteral("BandColumn")).front());
    EXPECT_EQ(ofABand, std::vector(2, Spring(0.3, 1.0))) << "the slider, and the curve behind it";
    EXPECT_EQ(spring(only(QStringLiteral("BandSliders"))), Spring(0.25, 1.0));
}

TEST_F(PanelLayoutTest, StandsTheOtherWayRoundWhereOneReadsFromTheRight) {
    scene.play(101, "Player");
    open();
    click(playerRow());
    scene.theme.setAppearance({.isRightToLeft = true});
    scene.settle();
    const auto parts = line();
    EXPECT_GT(place(*parts.front()).left(), place(*parts.back()).left());
    const auto symbols = all(QStringLiteral("Symbol"), &header());
    EXPECT_GT(place(*symbols[0]).left(), place(*symbols[1]).left());
    EXPECT_LT(place(item(QStringLiteral("63 hertz band gain"))).left(),
              place(item(QStringLiteral("8K hertz band gain"))).left());
}

TEST_F(PanelLayoutTest, WritesTheScaleOfDecibelsInTheSizeThatTheNumbersOfTheBandsHave) {
    openPlayer();
    const auto sizeOf = [this](const char* number) {
        return showing(QString::fromUtf8(number)).property("font").value<QFont>().pixelSize();
    };
    for (const auto& [scale, size] :
         {std::pair(1.0, 10), std::pair(1.25, 13), std::pair(1.5, 14), std::pair(2.0, 14)}) {
        scene.theme.setAppearance({.isMotionReduced = true, .fontScale = scale});
        scene.settle();
        for (const char* number : {"+12", "0", "\u221212", "63", "125", "8K"}) {
            EXPECT_EQ(sizeOf(number), size) << number << " at " << scale;
            const QQuickItem& label = showing(QString::fromUtf8(number));
            EXPECT_LE(label.property("contentWidth").toDouble(), label.width()) << number << " at " << scale;
        }
    }
}

/// Centre of what is as `weight` says in `picture`, in pixels from its middle.
template <class Weight> QPointF centreOf(const QImage& picture, Weight weight) {
    QPointF sum;
    double total = 0.0;
    const QPointF middle(picture.width() / 2.0, picture.height() / 2.0);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const QPointF place = QPointF(x + 0.5, y + 0.5) - middle;
            const double amount = weight(picture.pixelColor(x, y), std::hypot(place.x(), place.y()));
            sum += place * amount;
            total += amount;
        }
    return sum / total;
}

TEST_F(PanelLayoutTest, CentresTheDotOfAThumbWhereverTheThumbIs) {
    scene.theme.setAppearance({.isDark = true, .isContrastIncreased = true, .isTransparencyReduced = true});
    openPlayer();
    scene.controller->updateSettings({.bandGains = {0, 1.3, 2.1, 3.7, -4.4, -5.9, 7.05, -8.6}}, "player");
    scene.settle();
    const QImage picture = scene.picture();
    const auto thumbs = all(QStringLiteral("SliderThumb"));
    ASSERT_EQ(thumbs.size(), 8U);
    for (const QQuickItem* const thumb : thumbs) {
        const QPoint corner = place(*thumb).center().toPoint() - QPoint(12, 12);
        const QImage part = picture.copy(QRect(corner, QSize(24, 24)));
        // The ring is white, the dot blue.
        const QPointF ring = centreOf(part, [](const QColor& color, double distance) {
            return distance > 7.5 && distance < 11.5 && color.red() > 140 ? color.redF() : 0.0F;
        });
        const QPointF dot = centreOf(part, [](const QColor& color, double distance) {
            return distance < 6.5 ? std::max(0.0F, color.blueF() - color.redF() - 0.1F) : 0.0F;
        });
        EXPECT_NEAR(dot.x(), ring.x(), 0.2) << place(*thumb).y();
        EXPECT_NEAR(dot.y(), ring.y(), 0.2) << place(*thumb).y();
    }
}

class PanelWithIconsTest : public PanelQuickTest {
protected:
    PanelWithIconsTest() : PanelQuickTest(VELLO_ICON_PROGRAM) {}
};

TEST_F(PanelWithIconsTest, ShowsTheIconOfAnApplicationInThePlaceOfItsMark) {
    const std::string file = (scene.folder / "icon.png").string();
    QImage image(44, 44, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(QString::fromStdString(file)));
    scene.play(101, "Player", file);
    open();
    const QRectF icon = place(only(QStringLiteral("AppIconView"), &playerRow()));
    EXPECT_EQ(icon.size(), QSizeF(22.0, 22.0));
    EXPECT_EQ(scene.picture().pixelColor(icon.center().toPoint()), QColor(Qt::red));
    for (const QQuickItem* const symbol : all(QStringLiteral("Symbol"), &playerRow()))
        EXPECT_FALSE(place(*symbol).intersects(icon));
}

} // namespace
} // namespace vello
