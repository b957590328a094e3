// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// The base of all switches. The owner binds `isOn` and handles `switched`; a switch never changes by itself.
T.CheckBox {
    id: root

    required property bool isOn
    required property string label
    property string hint: ""
    property alias ringRadius: ring.radius

    signal switched(bool isOn)

    hoverEnabled: true
    containmentMask: HitArea {
        control: root
    }
    checked: root.isOn
    nextCheckState: () => root.isOn ? Qt.Checked : Qt.Unchecked
    Accessible.name: root.label
    Accessible.onToggleAction: root.clicked()
    onClicked: root.switched(!root.isOn)

    PressActions {
        onActivated: root.clicked()
    }
    FocusRing {
        id: ring

        isShown: root.visualFocus
    }
    Hint {
        text: root.hint
        isWanted: root.hovered && !root.down
    }
}
