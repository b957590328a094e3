// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A menu with a single choice, on top of the panel, below its button.
T.Popup {
    id: root

    required property MenuModel entries
    required property string label
    /// The button that opens the menu and gets the focus when the menu closes.
    required property T.AbstractButton button
    /// The lowest panel with an open card has this much room below each of its menu buttons.
    readonly property real largestHeight: 260

    x: root.button.mirrored ? root.button.width - width : 0
    y: root.button.height + 4
    padding: 5
    margins: 8
    focus: true
    implicitWidth: Math.min(300, Math.max(150, longest.advanceWidth + (root.entries.showsCheckMarks ? 32 + Theme.scaled(18) : root.entries.isEditable ? 36 + Theme.scaled(44) : 36) + leftPadding + rightPadding))
    implicitHeight: Math.min(implicitContentHeight + topPadding + bottomPadding, root.largestHeight)
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    onClosed: root.button.forceActiveFocus(Qt.PopupFocusReason)

    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.isMotionReduced ? 0 : 90
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Theme.isMotionReduced ? 0 : 90
        }
    }
    background: GlassSurface {
        radius: 10
        color: Theme.menu
        rimColor: Theme.windowRim
        shadowColor: Theme.menuShadow
        shadowRadius: 7
        shadowOffset: 4
    }
    contentItem: MenuList {
        entries: root.entries
        Accessible.name: root.label
    }

    TextMetrics {
        id: longest

        font.pixelSize: Theme.callout
        text: root.entries.longestTitle
    }
    Connections {
        target: root.entries

        function onChosen(): void {
            root.close();
        }
    }
}
