// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

Text {
    width: parent.width
    horizontalAlignment: Text.AlignRight
    rightPadding: 2
    font.family: Theme.monospaced
    font.pixelSize: Theme.caption2
    color: Theme.tertiary
    Accessible.ignored: true
}
