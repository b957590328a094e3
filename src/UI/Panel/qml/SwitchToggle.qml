// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A switch. Its owner binds `isOn` and handles `switched`; it never changes by itself.
T.CheckBox {
    id: root

    required property bool isOn
    required property string label
    property string hint: ""
    property real trackHeight: 15

    signal switched(bool isOn)

    implicitWidth: root.trackHeight * 1.75
    implicitHeight: root.trackHeight
    hoverEnabled: true
    checked: root.isOn
    nextCheckState: () => root.isOn ? Qt.Checked : Qt.Unchecked
    Accessible.name: root.label
    Accessible.onPressAction: root.clicked()
    Accessible.onToggleAction: root.clicked()
    onClicked: root.switched(!root.isOn)
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

    SpringFollower {
        id: knobShare

        to: root.isOn ? 1 : 0
        response: 0.25
        dampingFraction: 1
        isAnimated: !Theme.isMotionReduced
    }

    background: Rectangle {
        radius: height / 2
        color: Theme.mixed(Theme.quaternary, Theme.accent, knobShare.value)
        border.width: Theme.isContrastIncreased ? 1 : 0
        border.color: Theme.primary

        Rectangle {
            readonly property real inset: Math.max(1.5, root.trackHeight * 0.1)

            x: inset + (root.mirrored ? 1 - knobShare.value : knobShare.value) * (parent.width - width - 2 * inset)
            y: inset
            width: (root.trackHeight - 2 * inset) * 1.12
            height: root.trackHeight - 2 * inset
            radius: height / 2
            color: Theme.isDark && !root.isOn ? "#e4e5ea" : "white"
        }
        FocusRing {
            isShown: root.visualFocus
            radius: height / 2
        }
    }

    Hint {
        text: root.hint
        visible: root.hovered && !root.down && root.hint !== ""
    }
}
