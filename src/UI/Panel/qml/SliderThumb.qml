// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A round piece of glass with a dot in its middle.
Item {
    id: root

    required property real dotDiameter
    required property color ink
    property bool isDragging: false
    property bool isFocused: false

    SliderThumbGlassModifier {
        anchors.fill: parent
        shadowRadius: root.isDragging ? 3 : 1
        dotDiameter: root.dotDiameter
        dotColor: root.ink
    }
    FocusRing {
        isShown: root.isFocused
    }
}
