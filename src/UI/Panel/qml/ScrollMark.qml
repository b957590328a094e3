// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Shows which part of a list is in view, as long as there is more, and moves the list by the pointer.
Rectangle {
    id: root

    required property Flickable list
    /// Width of the area that takes the pointer.
    property real gripWidth: 24
    readonly property real hiddenHeight: Math.max(0, root.list.contentHeight - root.list.height)
    readonly property real travel: root.list.height - root.height
    readonly property real share: root.hiddenHeight > 0 ? (root.list.contentY - root.list.originY) / root.hiddenHeight : 0

    signal dragged

    function scrollTo(top: real): void {
        const share = Math.max(0, Math.min(1, top / root.travel));
        root.list.contentY = root.list.originY + share * root.hiddenHeight;
        root.dragged();
    }

    visible: root.hiddenHeight > 0.5
    y: Math.max(0, Math.min(1, root.share)) * root.travel
    width: 4
    height: Math.min(root.list.height, Math.max(24, root.list.visibleArea.heightRatio * root.list.height))
    radius: 2
    color: grip.containsMouse || grip.pressed ? Theme.secondary : Theme.tertiary

    MouseArea {
        id: grip

        property real pressedAt: 0

        anchors.horizontalCenter: parent.horizontalCenter
        width: root.gripWidth
        height: parent.height
        hoverEnabled: true
        preventStealing: true
        onPressed: mouse => grip.pressedAt = mouse.y
        onPositionChanged: mouse => {
            if (grip.pressed)
                root.scrollTo(root.y + mouse.y - grip.pressedAt);
        }
    }
}
