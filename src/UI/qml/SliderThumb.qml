// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A round piece of glass with a dot in its middle.
Item {
    id: root

    required property real dotDiameter
    required property color ink
    property bool isDragging: false
    property bool isFocused: false

    SpringFollower {
        id: shadow

        to: root.isDragging ? 3 : 1
        response: 0.2
        isAnimated: !Theme.isMotionReduced
    }
    GlassSurface {
        anchors.fill: parent
        radius: width / 2
        color: Theme.thumb
        rimWidth: 1
        rimColor: Theme.isContrastIncreased ? Theme.primary : Theme.isDark ? Qt.rgba(1, 1, 1, 0.22) : Qt.rgba(0, 0, 0, 0.07)
        shadowColor: Qt.rgba(0, 0, 0, 0.33)
        shadowRadius: shadow.value
    }
    Rectangle {
        anchors.centerIn: parent
        width: root.dotDiameter
        height: width
        radius: width / 2
        color: root.ink
    }
    FocusRing {
        isShown: root.isFocused
        radius: width / 2
    }
}
