// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One band: its slider with its label below.
Item {
    id: root

    required property BandModel modelData
    readonly property BandModel band: root.modelData
    /// 1 is full colour, 0 is grey.
    property real saturation: 1
    property alias numberSize: label.size
    /// How much its value is wanted in view: being dragged more than being pointed at, and that more than the focus.
    readonly property int attention: slider.isDragging ? 3 : slider.isHovered ? 2 : slider.activeFocus ? 1 : 0
    readonly property alias shownGainInForce: glideInForce.value

    SpringFollower {
        id: glide

        to: root.band.gain
        response: 0.3
        isAnimated: root.band.isGliding && !Theme.isMotionReduced
    }
    SpringFollower {
        id: glideInForce

        to: root.band.gainInForce
        response: 0.3
        isAnimated: root.band.isGlidingInForce && !Theme.isMotionReduced
    }
    VerticalDBSlider {
        id: slider

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.bottom: label.top
        anchors.bottomMargin: 4
        gain: root.band.gain
        shownGain: glide.value
        saturation: root.saturation
        // TRANSLATORS: %1 is 63, 125, … 8K. For screen readers.
        label: qsTr("%1 hertz band gain").arg(root.band.label)
        onEdited: gain => root.band.edit(gain)
    }
    ScaleLabel {
        id: label

        size: Theme.caption2
        anchors.bottom: parent.bottom
        height: Theme.scaled(12)
        text: root.band.label
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        rightPadding: 0
        color: Theme.secondary
    }
}
