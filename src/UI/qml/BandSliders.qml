// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The eight bands over the live spectrum, with the scale of decibels at their left.
Item {
    id: root

    required property EqualizerModel equalizer

    readonly property real sliderHeight: 132
    readonly property real gutterWidth: 26

    implicitHeight: root.sliderHeight + 16
    enabled: !root.equalizer.isBypassed
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    SpringFollower {
        id: saturation

        to: root.enabled ? 1 : 0
        response: 0.25
        isAnimated: !Theme.isMotionReduced
    }
    Item {
        width: root.gutterWidth
        height: root.sliderHeight
        Accessible.ignored: true

        ScaleLabel {
            anchors.top: parent.top
            text: "+12"
        }
        ScaleLabel {
            anchors.verticalCenter: parent.verticalCenter
            text: "0"
        }
        ScaleLabel {
            anchors.bottom: parent.bottom
            text: "\u221212"
        }
    }
    SpectrumGlowView {
        x: bands.x - bleed
        y: -bleed
        width: bands.width + 2 * bleed
        height: root.sliderHeight + 2 * bleed
        visible: !Theme.isTransparencyReduced
        magnitudes: root.equalizer.spectrum
        saturation: saturation.value
    }
    Row {
        id: bands

        x: root.gutterWidth + spacing
        width: root.width - x
        spacing: 6

        Repeater {
            model: root.equalizer.bands

            delegate: BandColumn {
                width: parent ? (parent.width - 7 * 6) / 8 : 0
            }
        }
    }
}
