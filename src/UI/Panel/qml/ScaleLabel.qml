// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A number at the bands: a mark of the decibel scale, or the frequency of a band.
Text {
    required property int size

    width: parent ? parent.width : 0
    horizontalAlignment: Text.AlignRight
    rightPadding: 2
    textFormat: Text.PlainText
    font.family: Theme.monospaced
    font.pixelSize: size
    color: Theme.tertiary
    Accessible.ignored: true
}
