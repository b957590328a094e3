// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The level of a source as a thin bar; invisible while the source has no level. Its end warns of clipping.
Item {
    id: root

    required property bool hasLevel
    required property real level
    required property bool isClipping
    required property FrameClock clock
    required property bool isOnScreen

    implicitWidth: 36
    implicitHeight: 4
    visible: root.hasLevel
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.quaternary
    }
    Rectangle {
        anchors.left: parent.left
        width: parent.width * shown.value
        height: parent.height
        radius: height / 2
        color: Theme.accent
    }
    Rectangle {
        anchors.right: parent.right
        width: 7
        height: parent.height
        radius: height / 2
        visible: root.isClipping
        color: Theme.warning
    }
    HoverHandler {
        id: hover

        margin: 6
    }
    Hint {
        text: qsTr("Louder than full scale: lower the volume or the bands")
        isWanted: hover.hovered && root.isClipping
    }
    LevelFollower {
        id: shown

        clock: root.clock
        isOnScreen: root.isOnScreen
        to: root.level
        isAnimated: root.hasLevel && !Theme.isMotionReduced
    }
}
