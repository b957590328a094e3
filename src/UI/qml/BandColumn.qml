// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One band: its slider, and its name under it.
Column {
    id: root

    required property BandModel modelData
    readonly property BandModel band: root.modelData

    spacing: 4

    SpringFollower {
        id: glide

        to: root.band.gain
        response: 0.3
        isAnimated: root.band.isGliding && !Theme.isMotionReduced
    }
    SpringFollower {
        id: saturation

        to: root.enabled ? 1 : 0
        response: 0.25
        isAnimated: !Theme.isMotionReduced
    }
    VerticalDBSlider {
        width: parent.width
        height: 132
        gain: root.band.gain
        shownGain: glide.value
        saturation: saturation.value
        label: qsTr("%1 hertz band gain").arg(root.band.label)
        onEdited: gain => root.band.edit(gain)
    }
    Text {
        width: parent.width
        height: 12
        text: root.band.label
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        font.family: Theme.monospaced
        font.pixelSize: Theme.caption2
        color: Theme.secondary
        Accessible.ignored: true
    }
}
