// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/Appearance.h"

#include <QList>
#include <QObject>
#include <QtQmlIntegration>

class QJSEngine;
class QQmlEngine;

namespace vello {

/// Colours and text sizes of the panel, named after their role. Sizes are pixels at a screen scale of 1. Over
/// any wallpaper, texts have at least kTextContrast to their background, or kIncreasedContrast when the user
/// asks for more. The accent has at least kMarkContrast, or kTextContrast.
class Theme : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
    Q_PROPERTY(bool isContrastIncreased READ isContrastIncreased NOTIFY changed)
    Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed)
    Q_PROPERTY(bool isTransparencyReduced READ isTransparencyReduced NOTIFY changed)
    Q_PROPERTY(bool isRightToLeft READ isRightToLeft NOTIFY changed)
    Q_PROPERTY(QColor primary READ primary NOTIFY changed)
    Q_PROPERTY(QColor secondary READ secondary NOTIFY changed)
    Q_PROPERTY(QColor tertiary READ tertiary NOTIFY changed)
    Q_PROPERTY(QColor quaternary READ quaternary NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY changed)
    Q_PROPERTY(QColor accentFill READ accentFill NOTIFY changed)
    Q_PROPERTY(QColor accentFillHovered READ accentFillHovered NOTIFY changed)
    Q_PROPERTY(QColor accentFillPressed READ accentFillPressed NOTIFY changed)
    Q_PROPERTY(QColor onAccent READ onAccent NOTIFY changed)
    Q_PROPERTY(QColor window READ window NOTIFY changed)
    Q_PROPERTY(QColor windowRim READ windowRim NOTIFY changed)
    Q_PROPERTY(QColor glass READ glass NOTIFY changed)
    Q_PROPERTY(QColor glassHovered READ glassHovered NOTIFY changed)
    Q_PROPERTY(QColor glassRim READ glassRim NOTIFY changed)
    Q_PROPERTY(QColor glassShadow READ glassShadow NOTIFY changed)
    Q_PROPERTY(QColor control READ control NOTIFY changed)
    Q_PROPERTY(QColor controlHovered READ controlHovered NOTIFY changed)
    Q_PROPERTY(QColor menu READ menu NOTIFY changed)
    Q_PROPERTY(QColor thumb READ thumb NOTIFY changed)
    Q_PROPERTY(int title2 READ title2 NOTIFY changed)
    Q_PROPERTY(int headline READ headline NOTIFY changed)
    Q_PROPERTY(int body READ body NOTIFY changed)
    Q_PROPERTY(int callout READ callout NOTIFY changed)
    Q_PROPERTY(int subheadline READ subheadline NOTIFY changed)
    Q_PROPERTY(int caption READ caption NOTIFY changed)
    Q_PROPERTY(int caption2 READ caption2 NOTIFY changed)
    Q_PROPERTY(QString monospaced READ monospaced CONSTANT)

public:
    explicit Theme(const Appearance& appearance, QObject* parent = nullptr);
    /// The theme of a PanelEngine; a new theme for any other engine.
    static Theme* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    void setAppearance(const Appearance& appearance);
    const Appearance& appearance() const { return appearance_; }

    bool isDark() const { return appearance_.isDark; }
    bool isContrastIncreased() const { return appearance_.isContrastIncreased; }
    bool isMotionReduced() const { return appearance_.isMotionReduced; }
    bool isTransparencyReduced() const { return appearance_.isTransparencyReduced; }
    bool isRightToLeft() const { return appearance_.isRightToLeft; }

    QColor primary() const;    ///< text
    QColor secondary() const;  ///< less important text
    QColor tertiary() const;   ///< least important text, marks
    QColor quaternary() const; ///< tracks
    /// The user's accent, made darker or lighter where its contrast is too low.
    QColor accent() const { return accents_.mark; }
    QColor accentText() const { return accents_.text; }
    QColor accentFill() const { return accents_.fill; } ///< background of text
    QColor accentFillHovered() const;
    QColor accentFillPressed() const;
    QColor onAccent() const { return accents_.onFill; } ///< text on `accentFill`
    QColor window() const;
    QColor windowRim() const;
    QColor glass() const; ///< background of cards; opaque when transparency is reduced
    QColor glassHovered() const;
    /// The backgrounds of texts and marks, over the brightest and the darkest wallpaper.
    QList<QColor> grounds() const;
    QColor glassRim() const;
    QColor glassShadow() const;
    QColor control() const; ///< background of bordered buttons and fields
    QColor controlHovered() const;
    QColor menu() const;
    QColor thumb() const;

    int title2() const { return scaled(17); }
    int headline() const { return scaled(13); }
    int body() const { return scaled(13); }
    int callout() const { return scaled(12); }
    int subheadline() const { return scaled(11); }
    int caption() const { return scaled(10); }
    int caption2() const { return scaled(10); }
    QString monospaced() const;

    /// `size` in pixels of unscaled text, scaled by the user's font scale.
    Q_INVOKABLE int scaled(double size) const;
    /// `share` runs from 0 (`from`) to 1 (`to`).
    Q_INVOKABLE static QColor mixed(const QColor& from, const QColor& to, double share);

signals:
    void changed();

private:
    struct Accents {
        QColor mark;
        QColor text;
        QColor fill;
        QColor onFill;
    };
    QColor ink(double alpha) const;
    Accents derivedAccents() const;

    Appearance appearance_;
    Accents accents_;
};

} // namespace vello
