// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/Appearance.h"

#include <QColor>
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
    Q_PROPERTY(QColor accentFillRim READ accentFillRim NOTIFY changed)
    Q_PROPERTY(QColor onAccent READ onAccent NOTIFY changed)
    Q_PROPERTY(QColor window READ window NOTIFY changed)
    Q_PROPERTY(QColor opaqueWindow READ opaqueWindow NOTIFY changed)
    Q_PROPERTY(QColor controlRim READ controlRim NOTIFY changed)
    Q_PROPERTY(QColor warning READ warning NOTIFY changed)
    Q_PROPERTY(QColor windowRim READ windowRim NOTIFY changed)
    Q_PROPERTY(QColor windowShadow READ windowShadow CONSTANT)
    Q_PROPERTY(QColor aboutWindow READ aboutWindow NOTIFY changed)
    Q_PROPERTY(QColor glass READ glass NOTIFY changed)
    Q_PROPERTY(QColor glassHovered READ glassHovered NOTIFY changed)
    Q_PROPERTY(QColor glassRim READ glassRim NOTIFY changed)
    Q_PROPERTY(QColor glassShadow READ glassShadow NOTIFY changed)
    Q_PROPERTY(QColor veil READ veil NOTIFY changed)
    Q_PROPERTY(QColor control READ control NOTIFY changed)
    Q_PROPERTY(QColor controlHovered READ controlHovered NOTIFY changed)
    Q_PROPERTY(QColor field READ field NOTIFY changed)
    Q_PROPERTY(QColor menu READ menu NOTIFY changed)
    Q_PROPERTY(QColor menuShadow READ menuShadow CONSTANT)
    Q_PROPERTY(QColor thumb READ thumb NOTIFY changed)
    Q_PROPERTY(QColor thumbRim READ thumbRim NOTIFY changed)
    Q_PROPERTY(QColor thumbShadow READ thumbShadow CONSTANT)
    Q_PROPERTY(QColor smallThumb READ smallThumb NOTIFY changed)
    Q_PROPERTY(QColor smallThumbRim READ smallThumbRim NOTIFY changed)
    Q_PROPERTY(QColor knobOn READ knobOn CONSTANT)
    Q_PROPERTY(QColor knobOff READ knobOff NOTIFY changed)
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

    bool isDark() const { return appearance_.isDark; }
    bool isContrastIncreased() const { return appearance_.isContrastIncreased; }
    bool isMotionReduced() const { return appearance_.isMotionReduced; }
    bool isTransparencyReduced() const { return appearance_.isTransparencyReduced; }
    bool isRightToLeft() const { return appearance_.isRightToLeft; }

    QColor primary() const { return text(0.92, 0.87, 1.0); }     ///< text
    QColor secondary() const { return text(0.72, 0.68, 0.92); }  ///< less important text
    QColor tertiary() const { return text(0.58, 0.57, 0.8); }    ///< least important text, marks
    QColor quaternary() const { return text(0.16, 0.13, 0.35); } ///< tracks
    /// The edge of a control whose fill hardly differs from the ground.
    QColor controlRim() const { return rim(ink(0.44, 0.52)); }
    QColor warning() const { return solid(0xff9f43, 0xc2410c); } ///< a mark
    /// The user's accent, made darker or lighter where its contrast is too low.
    QColor accent() const { return accents_.mark; }
    QColor accentText() const { return accents_.text; }
    QColor accentFill() const { return accents_.fill; } ///< background of text
    QColor accentFillHovered() const { return awayFromText(0.08); }
    QColor accentFillPressed() const { return awayFromText(0.2); }
    QColor accentFillRim() const;
    QColor onAccent() const { return accents_.onFill; } ///< text on `accentFill`
    QColor window() const { return isTransparencyReduced() ? opaqueWindow() : window(0.95); }
    QColor opaqueWindow() const { return window(1.0); } ///< for windows that cannot be translucent
    QColor windowRim() const { return rim(ink(0.14, 0.12)); }
    QColor windowShadow() const { return black(0.35); }
    QColor aboutWindow() const { return solid(0x202125, 0xf4f5f8); }
    /// Background of cards.
    QColor glass() const { return material(white(isDark() ? 0.075 : 0.62), solid(0x303136, 0xf8f8fa)); }
    QColor glassHovered() const {
        return material(white(isDark() ? 0.105 : 0.78), solid(0x36373d, 0xffffff));
    }
    /// The backgrounds of texts and marks, over the brightest and the darkest wallpaper.
    QList<QColor> grounds() const;
    QColor glassRim() const { return rim(white(0.1)); }
    QColor glassShadow() const { return black(isDark() ? 0.26 : 0.13); }
    /// Laid over the cards while everything is switched off.
    QColor veil() const { return window(isContrastIncreased() ? 0.3 : 0.5); }
    QColor control() const { return ink(0.11, 0.07); } ///< background of bordered buttons
    QColor controlHovered() const { return ink(0.17, 0.11); }
    QColor field() const { return isDark() ? black(0.25) : white(0.85); } ///< background of text fields
    QColor menu() const { return solid(0x2c2d32, 0xfafafb); }
    QColor menuShadow() const { return black(0.3); }
    QColor thumb() const; ///< of the sliders of the bands
    QColor thumbRim() const { return controlRim(); }
    QColor thumbShadow() const { return black(0.33); }
    QColor smallThumb() const { return solid(0xe8e9ee, 0xffffff); } ///< of a SmallSlider
    /// Tells the thumb from the ground, or on dark, where the thumb is bright, from the bar that it stands
    /// on.
    QColor smallThumbRim() const { return isDark() ? black(0.7) : controlRim(); }
    QColor knobOn() const { return white(1.0); } ///< of a switch
    QColor knobOff() const { return solid(0xe4e5ea, 0xffffff); }

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
    /// The curve behind the bands. `saturation` runs from 0 (grey) to 1.
    Q_INVOKABLE QColor response(double saturation) const;
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
    static QColor white(double alpha) { return QColor::fromRgbF(1, 1, 1, static_cast<float>(alpha)); }
    static QColor black(double alpha) { return QColor::fromRgbF(0, 0, 0, static_cast<float>(alpha)); }
    QColor solid(QRgb onDark, QRgb onLight) const { return QColor::fromRgb(isDark() ? onDark : onLight); }
    QColor ink(double onDark, double onLight) const { return isDark() ? white(onDark) : black(onLight); }
    QColor text(double onDark, double onLight, double withContrast) const {
        return isContrastIncreased() ? ink(withContrast, withContrast) : ink(onDark, onLight);
    }
    QColor window(double alpha) const;
    /// `translucent`, or `opaque` when transparency is reduced.
    QColor material(const QColor& translucent, const QColor& opaque) const {
        return isTransparencyReduced() ? opaque : translucent;
    }
    /// `usual`, or the primary colour with increased contrast.
    QColor rim(const QColor& usual) const { return isContrastIncreased() ? primary() : usual; }
    /// `accentFill`, moved away from the text's colour, so that the contrast only grows.
    QColor awayFromText(double share) const;
    Accents derivedAccents() const;

    Appearance appearance_;
    Accents accents_;
};

} // namespace vello
