// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The entries of a menu, for keyboard and pointer.
ListView {
    id: root

    required property MenuModel entries

    function choose(): void {
        if (root.currentIndex >= 0)
            root.entries.choose(root.currentIndex);
    }

    focus: true
    implicitHeight: contentHeight
    clip: root.contentHeight > root.height
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: true
    keyNavigationWraps: true
    currentIndex: -1
    highlightMoveDuration: 0
    model: root.entries
    Accessible.role: Accessible.PopupMenu
    Keys.onReturnPressed: root.choose()
    Keys.onEnterPressed: root.choose()
    Keys.onSpacePressed: root.choose()
    onVisibleChanged: root.currentIndex = -1

    delegate: MenuLine {
        width: ListView.view ? ListView.view.width : 0
    }
}
