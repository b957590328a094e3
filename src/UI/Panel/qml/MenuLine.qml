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
    required property bool isEditable
    required property bool isDeleted
    required property bool isAction
    required property MenuModel menu
    readonly property bool isCurrent: root.ListView.isCurrentItem
    readonly property alias isCut: label.truncated
    readonly property color ink: root.isCurrent ? Theme.onAccent : root.isDeleted ? Theme.secondary : root.isChecked && !root.menu.showsCheckMarks ? Theme.accentText : Theme.primary
    readonly property real lineHeight: Math.max(25, label.implicitHeight + 8)

    implicitHeight: root.lineHeight + (root.startsGroup ? 9 : 0)
    Accessible.role: Accessible.MenuItem
    Accessible.name: root.isDeleted ? qsTr("Undo deleting %1").arg(root.title) : root.title
    Accessible.checkable: !root.isDeleted && !root.isAction
    Accessible.checked: root.isChecked
    Keys.enabled: root.isCurrent
    Keys.onDeletePressed: root.deletePreset()
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_F2 && root.isEditable;
        if (event.accepted)
            root.menu.requestRenaming(root.index);
    }

    function activate(): void {
        if (root.isDeleted)
            root.menu.requestRestoration(root.index);
        else
            root.menu.choose(root.index);
    }
    function deletePreset(): void {
        // The button that was pressed disappears.
        root.forceActiveFocus();
        root.menu.requestDeletion(root.index);
    }

    PressActions {
        id: press

        takesSpace: true
        onActivated: root.activate()
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
            anchors.right: actions.visible ? actions.left : undo.visible ? undo.left : parent.right
            anchors.rightMargin: actions.visible ? 8 - actions.reach : 8
            anchors.verticalCenter: parent.verticalCenter
            horizontalAlignment: Text.AlignLeft
            text: root.title
            textFormat: Text.PlainText
            elide: (root.ListView.view as MenuList)?.elide ?? Text.ElideRight
            font.pixelSize: Theme.callout
            font.strikeout: root.isDeleted
            color: root.ink
        }
        Text {
            id: undo

            visible: root.isDeleted
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Undo")
            textFormat: Text.PlainText
            font.pixelSize: Theme.callout
            font.weight: Font.Medium
            color: root.isCurrent ? Theme.onAccent : Theme.accentText
            Accessible.ignored: true
        }
        MenuLineActions {
            id: actions

            visible: root.isCurrent && root.isEditable
            anchors.right: parent.right
            anchors.rightMargin: 4 - reach
            anchors.verticalCenter: parent.verticalCenter
            title: root.title
            ink: root.ink
            onRenamingRequested: root.menu.requestRenaming(root.index)
            onDeletionRequested: root.deletePreset()
        }
        HoverHandler {
            onHoveredChanged: {
                if (hovered && root.ListView.view)
                    root.ListView.view.currentIndex = root.index;
            }
        }
        TapHandler {
            onTapped: point => {
                if (!actions.visible || !actions.contains(actions.mapFromItem(line, point.position)))
                    press.activated();
            }
        }
    }
}
