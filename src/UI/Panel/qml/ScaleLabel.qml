// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One mark of the decibel scale.
Text {
    width: parent ? parent.width : 0
    horizontalAlignment: Text.AlignRight
    rightPadding: 2
    textFormat: Text.PlainText
    font.family: Theme.monospaced
    // All marks have the same size, small enough for the longest one, which is 1.85 times as wide as high.
    font.pixelSize: Math.max(8, Math.min(Theme.caption2, Math.floor((width - rightPadding) / 1.85)))
    color: Theme.tertiary
    Accessible.ignored: true
}
