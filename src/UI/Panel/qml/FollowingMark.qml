// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Marks a source that follows the system-wide entry, with the symbol of that.
Symbol {
    id: root

    required property string hint

    name: "speaker.wave.2.fill"
    pointSize: 8
    color: Theme.tertiary

    HoverHandler {
        id: hover

        margin: 5
    }
    Hint {
        text: root.hint
        isWanted: hover.hovered && root.visible
    }
}
