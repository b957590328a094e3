// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Vello

/// The card of one source. It opens to show the source's equalizer.
Item {
    id: root

    required property SourceItem source
    required property bool isOnScreen
    required property real dimming
    readonly property real padding: 8 + 4 * spring.value

    readonly property bool isExpanded: root.source.isExpanded

    signal opened

    onIsExpandedChanged: {
        if (root.isExpanded)
            root.opened();
    }

    implicitHeight: 2 * root.padding + row.lineHeight + spring.value * (12 + body.height)

    PanelSpring {
        id: spring

        to: root.source.isExpanded ? 1 : 0
        response: 0.26
        dampingFraction: 0.85
    }
    NimboGlassModifier {
        anchors.fill: parent
        radius: 14 + 6 * spring.share
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
        expansion: spring.value
        isOnScreen: root.isOnScreen
        onClicked: root.source.toggle()
    }
    Item {
        x: 12
        y: root.padding + row.lineHeight + 12
        width: root.width - 24
        height: Math.max(0, root.height - y)
        clip: spring.isMoving
        opacity: spring.share

        Column {
            id: body

            width: parent.width

            Repeater {
                // The equalizer exists only while it is visible.
                model: root.source.isExpanded || spring.isMoving ? [root.source.equalizer] : []

                delegate: EQPanelView {
                    width: parent ? parent.width : 0
                    isOnScreen: root.isOnScreen
                }
            }
        }
    }
    GlassSurface {
        // A veil. Translucent parts of a card would shine through each other if the card were translucent.
        anchors.fill: parent
        visible: root.dimming > 0
        radius: 14 + 6 * spring.share
        color: Theme.veil
        opacity: root.dimming
    }
}
