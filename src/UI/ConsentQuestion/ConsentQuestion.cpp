// SPDX-License-Identifier: Apache-2.0
#include "UI/ConsentQuestion/ConsentQuestion.h"

#include "Foundation/Localization.h"
#include "Foundation/Product.h"

#include <QDialogButtonBox>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

constexpr int kTextWidth = 420; // px, at least
constexpr int kLettersPerLine = 52;
constexpr int kMargin = 24;  // px
constexpr int kSpacing = 12; // px

constexpr QRgb kLightGround = 0xffefefef;
constexpr QRgb kDarkGround = 0xff303034;

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
}

QString text(std::string_view english) {
    return QString::fromStdString(localized(english));
}

/// Large texts get longer lines instead of more lines, because screens are wide.
int textWidth() {
    const QFontMetricsF letters(QGuiApplication::font());
    return std::max(kTextWidth, static_cast<int>(std::lround(kLettersPerLine * letters.averageCharWidth())));
}

QLabel* paragraph(const QString& content) {
    auto* label = new QLabel(content);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth());
    return label;
}

QLabel* heading(const QString& content) {
    QLabel* label = paragraph(content);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.2);
    label->setFont(font);
    return label;
}

} // namespace

ConsentQuestion::ConsentQuestion() {
    setWindowTitle(kApplicationName);
    const QString question = text("Allow VELLO to capture what applications play?");
    const QString reason =
        text("VELLO equalizes the sound of each application, and has to capture it for that. The sound is "
             "processed in memory only; it is never recorded or stored.");
    const QString change = text("You can change the answer at any time with the commands "
                                "“vello permission allow” and “vello permission deny”.")
                               .replace("vello permission ", "vello\u00a0permission\u00a0");
    setAccessibleName(question);
    setAccessibleDescription(reason);

    auto* buttons = new QDialogButtonBox;
    QPushButton* allow = buttons->addButton(text("Allow"), QDialogButtonBox::AcceptRole);
    QPushButton* deny = buttons->addButton(text("Don’t Allow"), QDialogButtonBox::RejectRole);
    allow->setDefault(true);
    connect(allow, &QPushButton::clicked, this, [this] { choose(Consent::allowed); });
    connect(deny, &QPushButton::clicked, this, [this] { choose(Consent::denied); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kSpacing);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(heading(question));
    layout->addWidget(paragraph(reason));
    layout->addWidget(paragraph(change));
    layout->addSpacing(kSpacing);
    layout->addWidget(buttons);
}

void ConsentQuestion::setAppearance(const Appearance& appearance) {
    QPalette palette = QGuiApplication::palette();
    if (isDark(palette) != appearance.isDark)
        palette = QPalette(QColor::fromRgb(appearance.isDark ? kDarkGround : kLightGround));
    if (appearance.accent.isValid())
        palette.setColor(QPalette::Highlight, appearance.accent);
    setPalette(palette);
}

void ConsentQuestion::choose(Consent answer) {
    answer_ = answer;
    accept();
}

} // namespace vello
