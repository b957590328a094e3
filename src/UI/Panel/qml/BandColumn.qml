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

    SpringFollower {
        id: glide

        to: root.band.gain
        response: 0.3
        dampingFraction: 1
        isAnimated: root.band.isGliding && !Theme.isMotionReduced
    }
    VerticalDBSlider {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.bottom: label.top
        anchors.bottomMargin: 4
        gain: root.band.gain
        shownGain: glide.value
        saturation: root.saturation
        label: qsTr("%1 hertz band gain").arg(root.band.label)
        onEdited: gain => root.band.edit(gain)
    }
    Text {
        id: label

        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.scaled(12)
        text: root.band.label
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        font.family: Theme.monospaced
        // All labels have the same size, small enough for three digits, which are 1.85 times as wide as high.
        font.pixelSize: Math.max(8, Math.min(Theme.caption2, Math.floor(root.width / 1.85)))
        color: Theme.secondary
        Accessible.ignored: true
    }
}
