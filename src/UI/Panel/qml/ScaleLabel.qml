// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// One mark of the scale of decibels.
Text {
    width: parent ? parent.width : 0
    horizontalAlignment: Text.AlignRight
    rightPadding: 2
    textFormat: Text.PlainText
    font.family: Theme.monospaced
    // All marks in one size, in which the longest finds room: it is 1.85 times as wide as high.
    font.pixelSize: Math.max(8, Math.min(Theme.caption2, Math.floor((width - rightPadding) / 1.85)))
    color: Theme.tertiary
    Accessible.ignored: true
}
