// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A horizontal slider. Its owner binds `level` and handles `moveRequested`.
T.Slider {
    id: root

    required property real level
    readonly property real shownLevel: Math.max(root.from, Math.min(root.to, root.level))

    signal moveRequested(real level)

    from: 0
    to: 1
    stepSize: 0.01
    snapMode: T.Slider.NoSnap
    implicitWidth: 100
    implicitHeight: 18
    hoverEnabled: true
    live: true
    value: root.shownLevel
    onShownLevelChanged: root.value = root.shownLevel
    onMoved: root.moveRequested(root.value)
    onValueChanged: {
        // A screen reader sets the value without a drag. Showing a level outside the range must not change the level.
        if (!root.pressed && root.value !== root.shownLevel)
            root.moveRequested(root.value);
    }
    Keys.onPressed: event => {
        if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown) {
            const step = event.key === Qt.Key_PageUp ? 0.1 : -0.1;
            root.moveRequested(Math.max(0, Math.min(1, root.level + step)));
            event.accepted = true;
        }
    }

    background: Item {
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            height: 4
            radius: 2
            color: Theme.quaternary
        }
        Rectangle {
            readonly property real middle: root.handle.x + root.handle.width / 2

            anchors.verticalCenter: parent.verticalCenter
            x: root.mirrored ? middle : 0
            width: root.mirrored ? parent.width - middle : middle
            height: 4
            radius: 2
            color: Theme.accent
        }
        FocusRing {
            isShown: root.visualFocus
            radius: 9
        }
    }
    handle: GlassSurface {
        x: root.visualPosition * (root.width - width)
        y: (root.height - height) / 2
        width: 15
        height: 15
        radius: 7.5
        color: Theme.isDark ? "#e8e9ee" : "white"
        rimColor: Theme.isContrastIncreased ? Theme.primary : Qt.rgba(0, 0, 0, 0.08)
        shadowColor: Qt.rgba(0, 0, 0, 0.33)
        shadowRadius: root.pressed ? 2 : 1
        shadowOffset: 0.5
    }
}
