// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Product.h"
#include "PanelQuickTest.h"

#include <QDesktopServices>

namespace vello {
namespace {

/// The static screens: the request for consent and About.
class StaticScreensTest : public PanelQuickTest {
protected:
    void openWith(Consent consent) {
        scene.authorization.answer = consent;
        open();
    }
    void openAbout() {
        scene.openAbout();
        scene.settle();
    }
    /// Gaps between consecutive items of a stack.
    static std::vector<double> gaps(const QQuickItem& stack) {
        std::vector<double> found;
        double bottom = -1.0;
        for (const QQuickItem* const child : stack.childItems()) {
            if (!child->isVisible() || child->height() <= 0.0)
                continue;
            if (bottom >= 0.0)
                found.push_back(child->y() - bottom);
            bottom = child->y() + child->height();
        }
        return found;
    }
    QFont fontOf(const char* text) {
        return showing(QString::fromUtf8(text)).property("font").value<QFont>();
    }
};

TEST_F(StaticScreensTest, StacksTheRequestFourteenPointsApart) {
    openWith(Consent::denied);
    const QQuickItem& screen = only(QStringLiteral("PermissionOnboardingView"));
    EXPECT_EQ(screen.width(), 320.0);
    const auto between = gaps(screen);
    ASSERT_EQ(between.size(), 3U) << "icon, texts, button, and what else helps";
    for (const double gap : between)
        EXPECT_EQ(gap, 14.0);
    const QQuickItem& icon = only(QStringLiteral("Image"), &screen);
    EXPECT_EQ(icon.size(), QSizeF(48.0, 48.0));
    EXPECT_EQ(icon.y(), 20.0);
    EXPECT_EQ(place(icon).center().x(), place(screen).center().x());
    EXPECT_EQ(screen.height() - screen.childItems().back()->y() - screen.childItems().back()->height(), 20.0);
}

TEST_F(StaticScreensTest, ExplainsTheRequestOnAtMost236Points) {
    openWith(Consent::undecided);
    const QQuickItem& title = item(QStringLiteral("VELLO needs System Audio access"));
    EXPECT_EQ(gaps(*title.parentItem()), std::vector<double>{6.0});
    const QQuickItem& explanation = *title.parentItem()->childItems()[1];
    EXPECT_EQ(explanation.width(), 236.0);
    EXPECT_EQ(explanation.property("font").value<QFont>().pixelSize(), scene.theme.caption());
    EXPECT_EQ(title.property("font").value<QFont>().pixelSize(), scene.theme.headline());
}

TEST_F(StaticScreensTest, StacksAboutTwelvePointsApart) {
    openAbout();
    const QQuickItem& icon = item(QStringLiteral("VELLO app icon"));
    EXPECT_EQ(icon.size(), QSizeF(56.0, 56.0));
    const QQuickItem& stack = *icon.parentItem()->parentItem();
    EXPECT_EQ(gaps(stack), (std::vector<double>{12.0, 12.0}));
    EXPECT_EQ(gaps(*item(QStringLiteral("By QUORVIN")).parentItem()), (std::vector<double>{3.0, 3.0}));
    EXPECT_EQ(fontOf("VELLO").weight(), QFont::DemiBold);
    EXPECT_EQ(fontOf("VELLO").pixelSize(), scene.theme.title2());
    EXPECT_EQ(fontOf("By QUORVIN").pixelSize(), scene.theme.subheadline());
    EXPECT_EQ(fontOf("Version " VELLO_VERSION ", Apache License 2.0").pixelSize(), scene.theme.caption());
}

TEST_F(StaticScreensTest, ListsThreeFeaturesTenPointsApart) {
    openAbout();
    const auto features = all(QStringLiteral("AboutFeature"));
    ASSERT_EQ(features.size(), 3U);
    EXPECT_EQ(gaps(*features[0]->parentItem()), (std::vector<double>{10.0, 10.0}));
    const QStringList symbols{QStringLiteral("slider.vertical.3"), QStringLiteral("speaker.wave.2"),
                              QStringLiteral("lock")};
    for (std::size_t index = 0; index < features.size(); ++index) {
        const QQuickItem& symbol = only(QStringLiteral("Symbol"), features[index]);
        EXPECT_EQ(symbol.property("name").toString(), symbols[static_cast<qsizetype>(index)]);
        EXPECT_EQ(symbol.property("pointSize").toDouble(), scene.theme.body());
        EXPECT_EQ(symbol.parentItem()->width(), 18.0);
        EXPECT_EQ(gaps(*features[index]->childItems()[1]), std::vector<double>{2.0});
    }
    EXPECT_EQ(fontOf("Shape each app").weight(), QFont::DemiBold);
    EXPECT_EQ(fontOf("Shape each app").pixelSize(), scene.theme.subheadline());
}

/// Takes the place of the browser.
class Browser : public QObject {
    Q_OBJECT
public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }
    Q_SLOT void open(const QUrl& address) { opened.append(address.toString()); }

    QStringList opened;
};

TEST_F(StaticScreensTest, LinksAboutToTheWebSiteAndToTheGuide) {
    const Browser browser;
    openAbout();
    for (QQuickItem* const link : all(QStringLiteral("LinkText")))
        click(*link);
    EXPECT_EQ(browser.opened, (QStringList{QString::fromUtf8(kWebSite), QString::fromUtf8(kGuide)}));
}

TEST_F(StaticScreensTest, HasRoomForAboutInLargeText) {
    scene.theme.setAppearance({.fontScale = 2.0});
    openAbout();
    const QRectF done = place(item(QStringLiteral("Done")));
    for (const QQuickItem* const text : all(QStringLiteral("Text"), all(QStringLiteral("Column")).front()))
        EXPECT_FALSE(place(*text).intersects(done)) << qPrintable(text->property("text").toString());
    for (const QQuickItem* const link : all(QStringLiteral("LinkText")))
        EXPECT_LT(place(*link).right(), done.left());
    EXPECT_LE(done.bottom(), scene.window->height());
}

TEST_F(StaticScreensTest, ClosesAboutByEscapeAndShowsItAgainAtItsSize) {
    openAbout();
    press(Qt::Key_Escape);
    EXPECT_FALSE(scene.window->isVisible());
    scene.window->show();
    EXPECT_EQ(scene.window->size(), QSize(360, 420));
}

} // namespace
} // namespace vello

#include "StaticScreensTest.moc"
