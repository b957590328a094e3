// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/PanelGeometry.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <ostream>

namespace vello {

void PrintTo(const PanelPoint& point, std::ostream* out) {
    *out << '(' << point.x << ", " << point.y << ')';
}

namespace {

/// A screen of 1920 x 1080 with a bar of 30 points at the top or bottom, or 60 at a side.
const PanelRectangle kUnderTopBar{0, 30, 1920, 1050};
const PanelRectangle kOverBottomBar{0, 0, 1920, 1050};
const PanelRectangle kBesideLeftBar{60, 0, 1860, 1080};
const PanelRectangle kBesideRightBar{0, 0, 1860, 1080};
constexpr PanelSize kPanel{kPanelWidth, 400};

PanelPoint placed(const PanelRectangle& available, const PanelRectangle& icon, PanelSize panel = kPanel) {
    return PanelPlacement{available, panel}.beside(icon);
}

TEST(PanelGeometryTest, LetsTheListGrowWithItsContentWithinBounds) {
    EXPECT_EQ(kPanelWidth, 344.0);
    EXPECT_EQ(listHeight(0.0, 1000.0), 52.0);
    EXPECT_EQ(listHeight(51.9, 1000.0), 52.0);
    EXPECT_EQ(listHeight(200.0, 1000.0), 200.0);
    EXPECT_EQ(listHeight(460.1, 1000.0), 460.0);
    EXPECT_EQ(listHeight(460.0, 383.0), 383.0);
    EXPECT_EQ(listHeight(200.0, 383.0), 200.0);
    EXPECT_EQ(listHeight(460.0, 20.0), 52.0) << "something of the list is always shown";
}

TEST(PanelGeometryTest, LetsTheTitleRecedeWhileACardIsOpen) {
    EXPECT_EQ(titleScale(0.0), 1.0);
    EXPECT_DOUBLE_EQ(titleScale(1.0), 0.82);
    EXPECT_DOUBLE_EQ(titleScale(0.5), 0.91);
    EXPECT_EQ(titleOpacity(0.0), 1.0);
    EXPECT_EQ(titleOpacity(1.0), 0.5);
    EXPECT_EQ(titleOpacity(0.5), 0.75);
}

TEST(PanelGeometryTest, MakesSymbolsLargerThanTheirTexts) {
    EXPECT_EQ(symbolSide(10.0), 13.0);
    EXPECT_EQ(symbolSide(13.0), 17.0) << "16.9";
    EXPECT_EQ(symbolSize(13.0, 28.0), 13.0);
    EXPECT_DOUBLE_EQ(symbolSize(26.0, 26.0), 20.0);
    EXPECT_DOUBLE_EQ(symbolSide(symbolSize(26.0, 28.0)), 28.0);
}

TEST(PanelGeometryTest, ShrinksNumbersToTheirRoomDownToEightPixels) {
    EXPECT_EQ(numberSize(10, 34.0), 10);
    EXPECT_EQ(numberSize(20, 34.0), 18);
    EXPECT_EQ(numberSize(20, 37.0), 20);
    EXPECT_EQ(numberSize(10, 10.0), 8);
    EXPECT_EQ(numberSize(10, -2.0), 8);
}

TEST(PanelGeometryTest, HangsThePanelUnderAnIconInATopBar) {
    EXPECT_EQ(placed(kUnderTopBar, {1000, 3, 24, 24}), (PanelPoint{1012 - 172, 38}));
}

TEST(PanelGeometryTest, StandsThePanelOverAnIconInABottomBar) {
    EXPECT_EQ(placed(kOverBottomBar, {1000, 1053, 24, 24}), (PanelPoint{1012 - 172, 1050 - 8 - 400}));
}

TEST(PanelGeometryTest, PutsThePanelBesideAnIconInASideBar) {
    EXPECT_EQ(placed(kBesideLeftBar, {18, 500, 24, 24}), (PanelPoint{68, 512 - 200}));
    EXPECT_EQ(placed(kBesideRightBar, {1878, 500, 24, 24}), (PanelPoint{1860 - 8 - 344, 512 - 200}));
}

TEST(PanelGeometryTest, KeepsAPanelOnTheScreenThatItsIconWouldPushOff) {
    EXPECT_EQ(placed(kUnderTopBar, {1890, 3, 24, 24}), (PanelPoint{1920 - 8 - 344, 38}));
    EXPECT_EQ(placed(kUnderTopBar, {4, 3, 24, 24}), (PanelPoint{8, 38}));
    EXPECT_EQ(placed(kBesideLeftBar, {18, 1050, 24, 24}), (PanelPoint{68, 1080 - 8 - 400}));
}

TEST(PanelGeometryTest, ShowsTheTopOfAPanelThatIsLargerThanTheScreen) {
    EXPECT_EQ(placed({0, 0, 300, 300}, {280, 0, 16, 16}), (PanelPoint{8, 8}));
    EXPECT_EQ(placed({0, 0, 300, 300}, {280, 280, 16, 16}), (PanelPoint{8, 8}));
}

TEST(PanelGeometryTest, FindsItsCornerWhereThereIsNoIcon) {
    const PanelPlacement placement{kUnderTopBar, kPanel};
    EXPECT_EQ(placement.in(ScreenCorner::topLeft), (PanelPoint{8, 38}));
    EXPECT_EQ(placement.in(ScreenCorner::topRight), (PanelPoint{1568, 38}));
    EXPECT_EQ(placement.in(ScreenCorner::bottomLeft), (PanelPoint{8, 672}));
    EXPECT_EQ(placement.in(ScreenCorner::bottomRight), (PanelPoint{1568, 672}));
}

TEST(PanelGeometryTest, LetsThePanelGrowAwayFromTheBarOfItsIcon) {
    const auto grows = [](const PanelRectangle& available, const PanelRectangle& icon) {
        return PanelPlacement{available, kPanel}.anchor(icon).corner;
    };
    EXPECT_EQ(grows(kUnderTopBar, {1000, 3, 24, 24}), ScreenCorner::topRight);
    EXPECT_EQ(grows(kUnderTopBar, {100, 3, 24, 24}), ScreenCorner::topLeft);
    EXPECT_EQ(grows(kOverBottomBar, {1000, 1053, 24, 24}), ScreenCorner::bottomRight);
    EXPECT_EQ(grows(kBesideLeftBar, {18, 500, 24, 24}), ScreenCorner::topLeft);
    EXPECT_EQ(grows(kBesideLeftBar, {18, 1050, 24, 24}), ScreenCorner::bottomLeft);
    EXPECT_EQ(grows(kBesideRightBar, {1878, 800, 24, 24}), ScreenCorner::bottomRight);
}

TEST(PanelGeometryTest, MeasuresFromTheBarWhereTheSystemKeepsWindowsClearOfIt) {
    const PanelPlacement placement{{0, 0, 1920, 1080}, kPanel};
    EXPECT_EQ(placement.anchor({1700, 1047, 22, 22}),
              (PanelAnchor{ScreenCorner::bottomRight, 1920 - 1711 - 172, 8}));
    EXPECT_EQ(placement.anchor({300, 3, 22, 22}), (PanelAnchor{ScreenCorner::topLeft, 311 - 172, 8}));
    EXPECT_EQ(placement.anchor({1890, 3, 22, 22}), (PanelAnchor{ScreenCorner::topRight, 8, 8}));
    EXPECT_EQ(placement.anchor({10, 700, 22, 22}),
              (PanelAnchor{ScreenCorner::bottomLeft, 8, 1080 - 711 - 200}));
    EXPECT_EQ(placement.anchor({1885, 1045, 22, 22}), (PanelAnchor{ScreenCorner::bottomRight, 8, 8}));
}

TEST(PanelGeometryTest, FindsTheBarInTheRoomThatItTakesFromTheScreen) {
    const PanelRectangle screen{0, 0, 1920, 1080};
    EXPECT_EQ(barEdge(screen, screen), std::nullopt);
    EXPECT_EQ(barEdge(screen, kUnderTopBar), ScreenEdge::top);
    EXPECT_EQ(barEdge(screen, kOverBottomBar), ScreenEdge::bottom);
    EXPECT_EQ(barEdge(screen, kBesideLeftBar), ScreenEdge::left);
    EXPECT_EQ(barEdge(screen, kBesideRightBar), ScreenEdge::right);
    EXPECT_EQ(barEdge(screen, {60, 30, 1860, 1050}), ScreenEdge::top) << "a top bar and a dock at the left";
}

TEST(PanelGeometryTest, KnowsWhereBarsHaveTheirStatusItems) {
    EXPECT_EQ(statusCorner(ScreenEdge::top, false), ScreenCorner::topRight);
    EXPECT_EQ(statusCorner(ScreenEdge::top, true), ScreenCorner::topLeft);
    EXPECT_EQ(statusCorner(ScreenEdge::bottom, false), ScreenCorner::bottomRight);
    EXPECT_EQ(statusCorner(ScreenEdge::bottom, true), ScreenCorner::bottomLeft);
    EXPECT_EQ(statusCorner(ScreenEdge::left, false), ScreenCorner::bottomLeft);
    EXPECT_EQ(statusCorner(ScreenEdge::right, true), ScreenCorner::bottomRight);
}

TEST(PanelGeometryTest, TakesTheCornersByTheirNames) {
    EXPECT_EQ(screenCorner("top-left"), ScreenCorner::topLeft);
    EXPECT_EQ(screenCorner("top-right"), ScreenCorner::topRight);
    EXPECT_EQ(screenCorner("bottom-left"), ScreenCorner::bottomLeft);
    EXPECT_EQ(screenCorner("bottom-right"), ScreenCorner::bottomRight);
    for (const char* const other : {"", "top", "Top-Left", "top-left ", "middle"})
        EXPECT_EQ(screenCorner(other), std::nullopt) << other;
}

RC_GTEST_PROP(PanelGeometryTest, KeepsThePanelOnTheScreenWhereverTheIconIs, ()) {
    const PanelRectangle icon{static_cast<double>(*rc::gen::inRange(-100, 2000)),
                              static_cast<double>(*rc::gen::inRange(-100, 1200)), 24, 24};
    const PanelSize panel{kPanelWidth, static_cast<double>(*rc::gen::inRange(150, 650))};
    for (const PanelRectangle& screen : {kUnderTopBar, kOverBottomBar, kBesideLeftBar, kBesideRightBar}) {
        const PanelPoint corner = placed(screen, icon, panel);
        RC_ASSERT(corner.x >= screen.x + 8);
        RC_ASSERT(corner.y >= screen.y + 8);
        RC_ASSERT(corner.x + panel.width <= screen.right() - 8);
        RC_ASSERT(corner.y + panel.height <= screen.bottom() - 8);
    }
}

} // namespace
} // namespace vello
