// SPDX-License-Identifier: Apache-2.0
#include "UI/ConsentQuestion/ConsentQuestion.h"

#include "Foundation/Localization.h"
#include "UI/Appearance/ColorContrast.h"

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
        const QColor ground = question_.grab().toImage().pixelColor(2, 2);
        EXPECT_EQ(ground.lightnessF() < 0.3F, isDark);
        for (const auto* each : question_.findChildren<QWidget*>())
            EXPECT_GE(contrastRatio(each->palette().color(each->foregroundRole()),
                                    each->palette().color(each->backgroundRole())),
                      kTextContrast)
                << each->metaObject()->className();
    }
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
