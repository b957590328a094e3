// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A text that opens a URL in the browser.
PanelText {
    id: root

    required property url address

    activeFocusOnTab: true
    containmentMask: HitArea {
        control: root
    }
    font.pixelSize: Theme.body
    font.underline: hover.hovered
    color: Theme.accentText
    Accessible.role: Accessible.Link

    PressActions {
        id: press

        takesSpace: true
        onActivated: Qt.openUrlExternally(root.address)
    }
    FocusRing {
        isShown: root.activeFocus
        radius: 5
    }
    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        onTapped: press.activated()
    }
}
