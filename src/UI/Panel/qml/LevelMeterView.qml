// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The level of a source as a thin bar; invisible while the source has no level.
Item {
    id: root

    required property bool hasLevel
    required property real level
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
    LevelFollower {
        id: shown

        clock: root.clock
        isOnScreen: root.isOnScreen
        to: root.level
        isAnimated: root.hasLevel && !Theme.isMotionReduced
    }
}
