// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A text that opens a URL in the browser.
PanelText {
    id: root

    required property url address

    function open(): void {
        Qt.openUrlExternally(root.address);
    }

    activeFocusOnTab: true
    font.pixelSize: Theme.body
    font.underline: hover.hovered
    color: Theme.accentText
    Accessible.role: Accessible.Link
    Accessible.onPressAction: root.open()
    Keys.onReturnPressed: root.open()
    Keys.onEnterPressed: root.open()
    Keys.onSpacePressed: root.open()

    FocusRing {
        isShown: root.activeFocus
        radius: 5
    }
    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        onTapped: root.open()
    }
}
