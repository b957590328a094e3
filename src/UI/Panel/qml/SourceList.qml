// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The cards of all sources. It is as high as the cards up to a maximum, and scrolls beyond it.
Item {
    id: root

    required property PanelModel panel
    /// Height that the screen leaves for the list.
    required property real room
    /// Total height of all cards.
    readonly property real listContentHeight: Math.max(0, stack.implicitHeight - 8)
    readonly property Item focused: root.Window.activeFocusItem
    readonly property bool isSeen: root.visible && root.Window.visibility !== Window.Hidden
    /// What is kept in view while cards open and move; null once the user scrolls.
    property Item revealed: null

    implicitHeight: PanelMeasures.listHeight(root.listContentHeight, root.room)
    onHeightChanged: root.reveal()
    onFocusedChanged: root.revealFocus()

    /// Scrolls as far as needed to show the revealed item, at least its top.
    function reveal(): void {
        if (!root.revealed || flickable.moving)
            return;
        const top = root.revealed.mapToItem(stack, 0, 0).y - 4;
        const bottom = top + root.revealed.height + 8;
        const shown = Math.min(top, Math.max(flickable.contentY, bottom - flickable.height));
        flickable.contentY = Math.max(0, Math.min(shown, flickable.contentHeight - flickable.height));
    }
    /// What the pointer focuses is in view already, and must not move away from it.
    function revealFocus(): void {
        let wanted = root.focused;
        let ancestor = root.focused;
        while (ancestor && ancestor !== stack) {
            // With the header of a card the whole card is shown.
            wanted = (ancestor as AppRowView)?.parent ?? wanted;
            ancestor = ancestor.parent;
        }
        if (!ancestor || pointer.active)
            return;
        root.revealed = wanted;
        root.reveal();
    }

    PanelSpring {
        id: dimming

        to: root.panel.isProcessingEnabled ? 0 : 1
        response: 0.25
    }
    Item {
        id: frame

        readonly property real bleed: 8

        // Shadows of cards may extend into the panel's margins, but not into the views above and below.
        x: -12
        y: -bleed
        width: root.width + 24
        height: root.height + 2 * bleed
        clip: flickable.isScrollable

        Flickable {
            id: flickable

            readonly property bool isScrollable: contentHeight > height + 0.5

            x: 12
            y: frame.bleed
            width: root.width
            height: root.height
            contentWidth: width
            contentHeight: root.listContentHeight
            interactive: isScrollable
            boundsBehavior: isScrollable ? Flickable.DragAndOvershootBounds : Flickable.StopAtBounds
            flickableDirection: Flickable.VerticalFlick
            onMovementStarted: root.revealed = null

            Column {
                id: stack

                /// Tops of the cards before their order changed, by the slot's index; empty at other times.
                property var formerTops: []

                width: flickable.width
                onPositioningComplete: {
                    stack.formerTops.forEach(former => former.slot.moveFrom(former.top));
                    stack.formerTops = [];
                    root.reveal();
                }

                Repeater {
                    id: slots

                    model: root.panel.sources
                    // A delegate cannot access its context, so what concerns all cards is bound here.
                    onItemAdded: (index, item) => {
                        const slot = item as SourceSlot;
                        slot.isOnScreen = Qt.binding(() => slot.cardTop < flickable.contentY + flickable.height + frame.bleed && slot.cardTop + slot.card.height > flickable.contentY - frame.bleed);
                        slot.dimming = Qt.binding(() => dimming.share);
                        slot.card.opened.connect(() => root.revealed = slot.card);
                        if (root.isSeen)
                            slot.arrive();
                    }

                    delegate: SourceSlot {
                        width: parent ? parent.width : 0
                    }
                }
            }
        }
    }
    Connections {
        target: root.panel.sources

        function onRowsAboutToBeMoved(): void {
            const tops = [];
            for (let index = 0; index < slots.count; ++index) {
                const slot = slots.itemAt(index) as SourceSlot;
                tops.push({
                    slot: slot,
                    top: slot.cardTop
                });
            }
            stack.formerTops = tops;
        }
    }
    Item {
        anchors.fill: parent

        PointHandler {
            id: pointer
        }
    }
    ScrollMark {
        anchors.left: parent.right
        anchors.leftMargin: 4
        list: flickable
        onDragged: root.revealed = null
    }
}
