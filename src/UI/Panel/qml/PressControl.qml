// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// The base of all buttons.
T.AbstractButton {
    id: root

    property alias ringRadius: ring.radius
    property alias ringGap: ring.gap
    property alias ringColor: ring.ink

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    hoverEnabled: true
    containmentMask: HitArea {
        control: root
    }
    Accessible.name: root.text

    PressActions {
        onActivated: root.clicked()
    }
    FocusRing {
        id: ring

        isShown: root.visualFocus
    }
}
