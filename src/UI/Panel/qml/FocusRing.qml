// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Marks the control that has the keyboard focus.
Rectangle {
    id: root

    required property bool isShown
    /// Distance from the control's edge outwards.
    property real gap: 3
    property color ink: Theme.accent

    anchors.fill: parent
    anchors.margins: -root.gap
    visible: root.isShown
    radius: height / 2
    color: "transparent"
    border.width: 2
    border.color: root.ink
}
