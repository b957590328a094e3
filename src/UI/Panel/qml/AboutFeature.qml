// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One thing that the application does.
Row {
    id: root

    required property string icon
    required property string title
    required property string detail

    spacing: 10

    Item {
        width: 18
        height: title.implicitHeight

        Symbol {
            anchors.centerIn: parent
            name: root.icon
            pointSize: Theme.body
            color: Theme.accent
        }
    }
    Column {
        spacing: 2

        PanelText {
            id: title

            anchors.left: parent.left
            text: root.title
            font.pixelSize: Theme.subheadline
            font.weight: Font.DemiBold
        }
        PanelText {
            anchors.left: parent.left
            horizontalAlignment: Text.AlignLeft
            text: root.detail
            font.pixelSize: Theme.caption
        }
    }
}
