// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The entries of a menu, for keyboard and pointer.
ListView {
    id: root

    required property MenuModel entries

    focus: true
    implicitHeight: contentHeight
    clip: root.contentHeight > root.height
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationWraps: true
    currentIndex: -1
    highlightMoveDuration: 0
    model: root.entries
    Accessible.role: Accessible.PopupMenu
    onVisibleChanged: root.currentIndex = -1

    delegate: MenuLine {
        width: ListView.view ? ListView.view.width : 0
    }
}
