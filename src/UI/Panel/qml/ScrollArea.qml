// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A view that scrolls where the screen is too low for it: by wheel, mark and arrow keys, and to what gets the focus.
Item {
    id: root

    default property alias content: flickable.flickableData
    /// Height of the whole view.
    required property real contentHeight
    /// Height that the screen leaves for it.
    required property real room
    readonly property Item focused: root.Window.activeFocusItem

    function scrollTo(top: real): void {
        flickable.contentY = Math.max(0, Math.min(top, root.contentHeight - root.height));
    }
    function scrollByLines(count: int): void {
        root.scrollTo(flickable.contentY + 2 * count * Theme.caption);
    }
    function revealFocus(): void {
        let ancestor = root.focused;
        while (ancestor && ancestor !== flickable.contentItem)
            ancestor = ancestor.parent;
        if (!ancestor)
            return;
        const top = root.focused.mapToItem(flickable.contentItem, 0, 0).y - 4;
        const bottom = top + root.focused.height + 8;
        root.scrollTo(Math.min(top, Math.max(flickable.contentY, bottom - root.height)));
    }

    implicitHeight: Math.max(0, Math.min(root.contentHeight, root.room))
    onFocusedChanged: root.revealFocus()
    onHeightChanged: root.revealFocus()
    Keys.onUpPressed: root.scrollByLines(-1)
    Keys.onDownPressed: root.scrollByLines(1)

    Flickable {
        id: flickable

        anchors.fill: parent
        contentWidth: width
        contentHeight: root.contentHeight
        interactive: contentHeight > height + 0.5
        boundsBehavior: Flickable.StopAtBounds
        clip: interactive
    }
    ScrollMark {
        anchors.left: parent.right
        anchors.leftMargin: 4
        list: flickable
    }
}
