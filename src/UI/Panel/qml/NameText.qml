// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A name on one line. Where it is cut, a hint tells the whole of it.
Text {
    id: root

    property bool isHintWanted: true

    textFormat: Text.PlainText
    elide: Text.ElideRight
    maximumLineCount: 1
    font.pixelSize: Theme.callout
    color: Theme.primary

    HoverHandler {
        id: hover
    }
    Hint {
        isWanted: hover.hovered && root.truncated && root.isHintWanted
        text: root.text
    }
}
