// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The cards of all sources. It is as high as the cards up to a maximum, and scrolls beyond it.
Item {
    id: root

    required property PanelModel panel
    /// Total height of all cards.
    readonly property real listContentHeight: stack.implicitHeight

    implicitHeight: PanelMeasures.listHeight(root.listContentHeight)

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

            Column {
                id: stack

                width: flickable.width
                spacing: 8

                Repeater {
                    model: root.panel.sources
                    // A delegate cannot access its context, so the part that is shown is bound here.
                    onItemAdded: (index, item) => {
                        const section = item as SourceSection;
                        section.shownTop = Qt.binding(() => flickable.contentY - frame.bleed);
                        section.shownBottom = Qt.binding(() => flickable.contentY + flickable.height + frame.bleed);
                    }

                    delegate: SourceSection {
                        width: parent ? parent.width : 0
                    }
                }
            }
        }
    }
    Rectangle {
        // The scroll indicator.
        visible: flickable.isScrollable
        opacity: flickable.moving || listHover.hovered ? 1 : 0
        anchors.left: parent.right
        anchors.leftMargin: 4
        y: flickable.visibleArea.yPosition * root.height
        width: 4
        height: Math.max(24, flickable.visibleArea.heightRatio * root.height)
        radius: 2
        color: Theme.tertiary

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.isMotionReduced ? 0 : 150
            }
        }
    }
    HoverHandler {
        id: listHover
    }
}
