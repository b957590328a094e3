// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One entry of a menu, with the divider that precedes its group.
Item {
    id: root

    required property int index
    required property string title
    required property bool isChecked
    required property bool startsGroup
    required property MenuModel menu
    readonly property bool isCurrent: root.ListView.isCurrentItem
    readonly property real lineHeight: Math.max(25, label.implicitHeight + 8)

    implicitHeight: root.lineHeight + (root.startsGroup ? 9 : 0)
    Accessible.role: Accessible.MenuItem
    Accessible.name: root.title
    Accessible.checkable: true
    Accessible.checked: root.isChecked
    Keys.enabled: root.isCurrent

    PressActions {
        id: press

        takesSpace: true
        onActivated: root.menu.choose(root.index)
    }
    Rectangle {
        visible: root.startsGroup
        x: 8
        y: 4
        width: root.width - 16
        height: 1
        color: Theme.quaternary
    }
    Rectangle {
        id: line

        anchors.bottom: parent.bottom
        width: parent.width
        height: root.lineHeight
        radius: 6
        color: root.isCurrent ? Theme.accentFill : "transparent"

        Symbol {
            visible: root.menu.showsCheckMarks && root.isChecked
            anchors.left: parent.left
            anchors.leftMargin: 7
            anchors.verticalCenter: parent.verticalCenter
            name: "checkmark"
            pointSize: Theme.caption
            color: root.isCurrent ? Theme.onAccent : Theme.primary
        }
        Text {
            id: label

            anchors.left: parent.left
            anchors.leftMargin: root.menu.showsCheckMarks ? 7 + Theme.scaled(18) : 10
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            horizontalAlignment: Text.AlignLeft
            text: root.title
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font.pixelSize: Theme.callout
            color: root.isCurrent ? Theme.onAccent : root.isChecked && !root.menu.showsCheckMarks ? Theme.accentText : Theme.primary
        }
        HoverHandler {
            onHoveredChanged: {
                if (hovered && root.ListView.view)
                    root.ListView.view.currentIndex = root.index;
            }
        }
        TapHandler {
            onTapped: press.activated()
        }
    }
}
