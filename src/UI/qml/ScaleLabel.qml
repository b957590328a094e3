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
    font.pixelSize: Theme.caption2
    color: Theme.tertiary
    Accessible.ignored: true
}
