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
    /// How entries are cut that are too long.
    property int elide: Text.ElideRight
    readonly property QtObject window: root.button.Window.window
    /// The panel, in points of the window. Outside of it clicks go through the window.
    readonly property rect panel: (root.window as PanelWindow)?.surface ?? Qt.rect(0, 0, 0, 0)
    readonly property real gap: 8
    readonly property real largestHeight: Math.min(260, root.panel.height - 2 * root.gap)

    x: root.button.mirrored ? root.button.width - width : 0
    y: root.button.height + 4
    padding: 5
    margins: root.gap
    topMargin: root.panel.y + root.gap
    bottomMargin: ((root.window as PanelWindow)?.height ?? 0) - root.panel.y - root.panel.height + root.gap
    focus: true
    implicitWidth: Math.min(300, Math.max(150, longest.advanceWidth + (root.entries.showsCheckMarks ? 32 + Theme.scaled(18) : root.entries.isEditable ? 36 + Theme.scaled(44) : 36) + leftPadding + rightPadding))
    implicitHeight: Math.min(implicitContentHeight + topPadding + bottomPadding, root.largestHeight)
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    onAboutToShow: (root.window as PanelWindow).openMenu = root
    onClosed: {
        (root.window as PanelWindow).openMenu = null;
        root.button.forceActiveFocus(Qt.PopupFocusReason);
    }

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
    contentItem: MenuBody {
        entries: root.entries
        label: root.label
        elide: root.elide
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
