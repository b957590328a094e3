// SPDX-License-Identifier: Apache-2.0
#include "UI/ConsentQuestion/ConsentQuestion.h"

#include "Foundation/Localization.h"
#include "support/PictureContrast.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>

namespace vello {
namespace {

/// Uses the offscreen platform: nothing is displayed.
class ConsentQuestionTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argumentCount = 1;
        static char name[] = "test";
        static char* arguments[] = {name, nullptr};
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application_ = std::make_unique<QApplication>(argumentCount, arguments);
    }
    static void TearDownTestSuite() { application_.reset(); }

    void SetUp() override {
        question_.show();
        question_.activateWindow();
    }

    void press(Qt::Key key) {
        QWidget* target = question_.focusWidget() != nullptr ? question_.focusWidget() : &question_;
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &event);
        }
    }
    /// With three pixels a point, so that strokes of letters reach their own colour.
    QImage picture() {
        constexpr int scale = 3;
        QImage image(question_.size() * scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        question_.render(&image);
        return image;
    }
    double contrastIn(const QWidget& widget) {
        const QImage image = picture();
        const auto scale = static_cast<int>(image.devicePixelRatio());
        const QPoint corner = widget.mapTo(&question_, QPoint(4, 4));
        return PictureColors(image.copy(QRect(corner * scale, (widget.size() - QSize(8, 8)) * scale)))
            .contrast();
    }
    QAbstractButton* button(const QString& text) {
        for (auto* each : question_.findChildren<QAbstractButton*>())
            if (each->text() == text)
                return each;
        throw std::runtime_error("no button " + text.toStdString());
    }

    static std::unique_ptr<QApplication> application_;
    ConsentQuestion question_;
};

std::unique_ptr<QApplication> ConsentQuestionTest::application_;

TEST_F(ConsentQuestionTest, EnterAllowsTheCapture) {
    press(Qt::Key_Return);
    EXPECT_EQ(question_.answer(), Consent::allowed);
    EXPECT_FALSE(question_.isVisible());
}

TEST_F(ConsentQuestionTest, EscapeIsNoAnswer) {
    press(Qt::Key_Escape);
    EXPECT_EQ(question_.answer(), Consent::undecided);
    EXPECT_FALSE(question_.isVisible());
}

TEST_F(ConsentQuestionTest, ClosingTheWindowIsNoAnswer) {
    question_.close();
    EXPECT_EQ(question_.answer(), Consent::undecided);
    EXPECT_FALSE(question_.isVisible());
}

TEST_F(ConsentQuestionTest, TheButtonsAnswer) {
    button("Don’t Allow")->click();
    EXPECT_EQ(question_.answer(), Consent::denied);
    EXPECT_FALSE(question_.isVisible());
    question_.show();
    button("Allow")->click();
    EXPECT_EQ(question_.answer(), Consent::allowed);
}

TEST_F(ConsentQuestionTest, IsAsDarkAsTheDesktopAndChangesWithIt) {
    for (const bool isDark : {true, false, true}) {
        question_.setAppearance({.isDark = isDark});
        EXPECT_EQ(picture().pixelColor(2, 2).lightnessF() < 0.3F, isDark);
    }
}

TEST_F(ConsentQuestionTest, HasEnoughContrastInItsPicture) {
    for (const bool isDark : {true, false}) {
        question_.setAppearance({.isDark = isDark});
        for (const auto* label : question_.findChildren<QLabel*>())
            EXPECT_GE(contrastIn(*label), kTextContrast) << label->text().toStdString();
        for (const auto* each : question_.findChildren<QAbstractButton*>())
            EXPECT_GE(contrastIn(*each), kTextContrast) << each->text().toStdString();
    }
}

TEST_F(ConsentQuestionTest, FitsOnALowScreenWithLargeTexts) {
    constexpr QSize lowScreen(960, 540);
    constexpr QSize frameAndBar(16, 80);
    const QFont usual = QApplication::font();
    for (const double scale : {1.0, 1.5, 2.0}) {
        QFont font = usual;
        font.setPointSizeF(11.0 * scale);
        QApplication::setFont(font);
        ConsentQuestion question;
        question.show();
        const QSize room = lowScreen - frameAndBar;
        EXPECT_LE(question.width(), room.width()) << scale;
        EXPECT_LE(question.height(), room.height()) << scale;
    }
    QApplication::setFont(usual);
}

TEST_F(ConsentQuestionTest, MarksWithTheAccentOfTheDesktop) {
    question_.setAppearance({.accent = QColor(200, 30, 90)});
    EXPECT_EQ(question_.findChild<QAbstractButton*>()->palette().color(QPalette::Highlight),
              QColor(200, 30, 90));
}

TEST_F(ConsentQuestionTest, HasRoomForItsWholeTextInEveryLanguage) {
    for (const std::string_view language : languages()) {
        setLanguage(language);
        ConsentQuestion question;
        question.show();
        for (const auto* label : question.findChildren<QLabel*>()) {
            EXPECT_LE(label->minimumSizeHint().width(), label->width()) << label->text().toStdString();
            EXPECT_LE(label->heightForWidth(label->width()), label->height()) << label->text().toStdString();
        }
        for (const auto* each : question.findChildren<QAbstractButton*>())
            EXPECT_LE(each->sizeHint().width(), each->width()) << each->text().toStdString();
    }
    setLanguage("en");
}

TEST_F(ConsentQuestionTest, TellsAScreenReaderTheQuestionAndItsReason) {
    EXPECT_EQ(question_.accessibleName(), "Allow VELLO to capture what applications play?");
    EXPECT_TRUE(question_.accessibleDescription().contains("it is never recorded or stored"));
}

TEST_F(ConsentQuestionTest, NamesTheWayToChangeTheAnswer) {
    QString text;
    for (const auto* label : question_.findChildren<QLabel*>())
        text += label->text();
    text.replace(QChar(QChar::Nbsp), ' ');
    EXPECT_TRUE(text.contains("vello permission allow")) << text.toStdString();
    EXPECT_TRUE(text.contains("vello permission deny"));
}

} // namespace
} // namespace vello
