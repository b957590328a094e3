// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The place of a card in the list. It opens for a card that comes and closes behind one that goes, and a card that
/// gets another place moves there.
Item {
    id: root

    required property SourceItem source
    /// Whether any part of the card is in view.
    property bool isOnScreen: true
    /// From 0 (as usual) to 1 (dimmed, because everything is off).
    property real dimming: 0
    readonly property alias card: section
    /// Top of the card in the list, also while it moves.
    readonly property real cardTop: root.y + shift.value
    readonly property bool isGone: root.source.isLeaving && !presence.isMoving && presence.value === 0
    /// Whether keys were used in the card since it was last pressed.
    property bool takesKeys: false
    readonly property bool hasKeyboard: frame.activeFocus && (root.takesKeys || (root.Window.activeFocusItem as TextInput))
    readonly property bool isHeld: pointer.active || root.hasKeyboard || root.holds(root.openMenu?.button)
    readonly property PanelMenu openMenu: (root.Window.window as PanelWindow)?.openMenu ?? null

    /// Lets the card come in.
    function arrive(): void {
        presence.startFrom(0);
    }
    /// Lets the card move to its place from where it was.
    function moveFrom(top: real): void {
        shift.startFrom(top - root.y);
    }
    function holds(item: Item): bool {
        let ancestor = item;
        while (ancestor && ancestor !== root)
            ancestor = ancestor.parent;
        return ancestor === root;
    }

    implicitHeight: Math.max(0, presence.value) * (section.height + 8)
    visible: presence.value > 0
    onIsHeldChanged: root.source.isHeld = root.isHeld
    onIsGoneChanged: {
        if (root.isGone)
            root.source.leave();
    }

    PanelSpring {
        id: presence

        to: root.source.isLeaving ? 0 : 1
        response: 0.26
        dampingFraction: 0.85
    }
    PanelSpring {
        id: shift

        response: 0.26
        dampingFraction: 0.85
    }
    FocusScope {
        id: frame

        readonly property real bleed: 12

        // While the card comes or goes it is cut off at the end of its place, but its shadow is not.
        x: -bleed
        y: shift.value - bleed
        width: root.width + 2 * bleed
        height: root.height + bleed
        clip: presence.isMoving
        opacity: presence.share
        // A key that is released here was pressed in the card, or has led into it.
        Keys.onReleased: event => {
            root.takesKeys = true;
            event.accepted = false;
        }

        SourceSection {
            id: section

            x: frame.bleed
            y: frame.bleed
            width: root.width
            source: root.source
            isOnScreen: root.isOnScreen
            dimming: root.dimming
        }
        Item {
            // In front of the controls, because what they accept does not reach handlers behind them.
            anchors.fill: section

            PointHandler {
                id: pointer

                onActiveChanged: root.takesKeys = false
            }
        }
    }
}
