// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The content of a menu: its entries, and a mark while they have no room.
FocusScope {
    id: root

    required property MenuModel entries
    required property string label
    required property int elide

    focus: true
    implicitHeight: list.implicitHeight

    MenuList {
        id: list

        anchors.fill: parent
        anchors.rightMargin: mark.visible ? 6 : 0
        entries: root.entries
        elide: root.elide
        Accessible.name: root.label
    }
    ScrollMark {
        id: mark

        anchors.right: parent.right
        anchors.rightMargin: -2
        gripWidth: 12
        list: list
    }
}
