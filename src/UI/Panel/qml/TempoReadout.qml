// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The tempo of the music. Takes space only while there is a tempo.
Item {
    id: root

    required property bool isPresent
    required property int beatsPerMinute
    readonly property real share: presence.share

    implicitWidth: root.share * Math.max(48, reading.implicitWidth)
    implicitHeight: reading.implicitHeight
    visible: root.isPresent || presence.isMoving
    opacity: root.share
    clip: presence.isMoving

    PanelSpring {
        id: presence

        to: root.isPresent ? 1 : 0
        response: 0.2
    }
    PanelText {
        id: reading

        anchors.left: parent.left
        // TRANSLATORS: Beats per minute. Beside it is little room.
        text: qsTr("%1 BPM").arg(root.beatsPerMinute)
        font.pixelSize: Theme.caption2
        font.weight: Font.Medium
        color: Theme.secondary
        Accessible.name: qsTr("%1 beats per minute").arg(root.beatsPerMinute)
    }
}
