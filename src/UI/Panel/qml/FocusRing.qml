// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Marks the control that has the keyboard focus.
Rectangle {
    id: root

    required property bool isShown

    anchors.fill: parent
    anchors.margins: -3
    visible: root.isShown
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
}
