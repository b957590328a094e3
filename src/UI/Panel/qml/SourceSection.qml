// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The card of one source. It opens to show the source's equalizer.
Item {
    id: root

    required property SourceItem source

    readonly property real expansion: spring.value
    /// The expansion without overshoot, for items that must not swing.
    readonly property real shown: Math.max(0, Math.min(1, root.expansion))
    readonly property real padding: 8 + 4 * root.expansion

    implicitHeight: 2 * root.padding + row.lineHeight + root.expansion * (12 + body.height)

    SpringFollower {
        id: spring

        to: root.source.isExpanded ? 1 : 0
        response: 0.26
        dampingFraction: 0.85
        isAnimated: !Theme.isMotionReduced
    }
    NimboGlassModifier {
        anchors.fill: parent
        radius: 14 + 6 * root.shown
        isHovered: hover.hovered && !root.source.isExpanded
        shadowColor: Theme.glassShadow
        shadowRadius: 4
        shadowOffset: 1.5
    }
    HoverHandler {
        id: hover
    }
    AppRowView {
        id: row

        width: root.width
        margin: root.padding
        source: root.source
        expansion: root.expansion
        onClicked: root.source.toggle()
    }
    Item {
        x: 12
        y: root.padding + row.lineHeight + 12
        width: root.width - 24
        height: Math.max(0, root.height - y)
        clip: spring.isMoving
        opacity: root.shown

        Column {
            id: body

            width: parent.width

            Repeater {
                // The equalizer exists only while it is visible.
                model: root.source.isExpanded || spring.isMoving ? [root.source.equalizer] : []

                delegate: EQPanelView {
                    width: parent ? parent.width : 0
                }
            }
        }
    }
}
