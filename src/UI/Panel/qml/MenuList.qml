// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The entries of a menu, for keyboard and pointer.
ListView {
    id: root

    required property MenuModel entries
    required property int elide
    readonly property MenuLine marked: root.currentItem as MenuLine

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

    Hint {
        readonly property real gap: 11

        // Below the menu or above it, because it must not cover other entries.
        y: hasRoomBelow() ? root.height + gap : -implicitHeight - gap
        isOfMenu: true
        isWanted: root.marked?.isCut ?? false
        text: root.marked?.title ?? ""

        function hasRoomBelow(): bool {
            const panel = (root.Window.window as PanelWindow)?.surface;
            return !isWanted || !panel || root.mapToItem(null, 0, root.height).y + gap + implicitHeight < panel.bottom;
        }
    }
}
