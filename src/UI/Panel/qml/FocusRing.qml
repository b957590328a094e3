// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Shows which control has the keyboard.
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
