// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/AppearanceWords.h"

#include <algorithm>
#include <array>

namespace vello {
namespace {

using Choice = std::optional<bool> AppearanceChoices::*;

struct PlainWord {
    QLatin1String word;
    Choice choice;
    bool value;
};

const std::array<PlainWord, 10> kPlainWords{{
    {QLatin1String("dark"), &AppearanceChoices::isDark, true},
    {QLatin1String("light"), &AppearanceChoices::isDark, false},
    {QLatin1String("contrast"), &AppearanceChoices::isContrastIncreased, true},
    {QLatin1String("no-contrast"), &AppearanceChoices::isContrastIncreased, false},
    {QLatin1String("still"), &AppearanceChoices::isMotionReduced, true},
    {QLatin1String("moving"), &AppearanceChoices::isMotionReduced, false},
    {QLatin1String("opaque"), &AppearanceChoices::isTransparencyReduced, true},
    {QLatin1String("translucent"), &AppearanceChoices::isTransparencyReduced, false},
    {QLatin1String("rtl"), &AppearanceChoices::isRightToLeft, true},
    {QLatin1String("ltr"), &AppearanceChoices::isRightToLeft, false},
}};

/// Returns an empty complaint when the word was understood.
QString readScale(const QString& value, AppearanceChoices& choices) {
    bool isNumber = false;
    const double scale = value.toDouble(&isNumber);
    if (!isNumber || !(scale >= kSmallestFontScale && scale <= kLargestFontScale))
        return QStringLiteral("\"scale=%1\" is not a scale from %2 to %3, as in \"scale=1.5\"")
            .arg(value)
            .arg(kSmallestFontScale)
            .arg(kLargestFontScale);
    choices.fontScale = scale;
    return {};
}

QString readAccent(const QString& value, AppearanceChoices& choices) {
    if (value.size() != 7 || !value.startsWith(u'#') || !QColor::isValidColorName(value))
        return QStringLiteral("\"accent=%1\" is not a colour as in \"accent=#3584e4\"").arg(value);
    choices.accent = QColor(value);
    return {};
}

QString readWord(const QString& word, AppearanceChoices& choices) {
    const auto plain =
        std::ranges::find_if(kPlainWords, [&](const PlainWord& one) { return one.word == word; });
    if (plain != kPlainWords.end()) {
        choices.*plain->choice = plain->value;
        return {};
    }
    const qsizetype equals = word.indexOf(u'=');
    const QString name = word.left(equals);
    if (equals >= 0 && name == QLatin1String("scale"))
        return readScale(word.mid(equals + 1), choices);
    if (equals >= 0 && name == QLatin1String("accent"))
        return readAccent(word.mid(equals + 1), choices);
    QStringList known;
    for (const PlainWord& one : kPlainWords)
        known.append(one.word);
    return QStringLiteral("\"%1\" is none of %2, scale=, accent=")
        .arg(word, known.join(QStringLiteral(", ")));
}

} // namespace

AppearanceWords AppearanceWords::read(const QString& words) {
    AppearanceWords result;
    const QString spaced = words.toLower().replace(u',', u' ').simplified();
    for (const QString& word : spaced.split(u' ', Qt::SkipEmptyParts)) {
        const QString complaint = readWord(word, result.choices);
        if (!complaint.isEmpty())
            result.complaints.append(complaint);
    }
    return result;
}

} // namespace vello
