// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The name of a source's output.
MarqueeText {
    id: root

    color: Theme.secondary
    pixelSize: Theme.caption2
    reduceMotion: Theme.isMotionReduced
    isMirrored: LayoutMirroring.enabled
    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("Output: %1").arg(root.text)

    HoverHandler {
        id: hover
    }
    Hint {
        text: root.text
        isWanted: hover.hovered && root.visible
    }
}
