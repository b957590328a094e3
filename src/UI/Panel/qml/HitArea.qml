// SPDX-License-Identifier: Apache-2.0
import QtQuick

/// The `containmentMask` of a control, which makes what takes the pointer at least as large as a fingertip needs, whatever
/// the size of what is seen.
Item {
    required property Item control
    readonly property real least: 24

    x: (control.width - width) / 2
    y: (control.height - height) / 2
    width: Math.max(least, control.width)
    height: Math.max(least, control.height)
}
