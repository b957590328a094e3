// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A switch with a sliding knob.
ToggleControl {
    id: root

    property real trackHeight: 15

    implicitWidth: root.trackHeight * 1.75
    implicitHeight: root.trackHeight

    PanelSpring {
        id: knobShare

        to: root.isOn ? 1 : 0
        response: 0.25
    }

    // The software renderer draws round rectangles whose sides are not whole pixels with bumps, glass without.
    background: GlassSurface {
        radius: height / 2
        color: Theme.mixed(Theme.quaternary, Theme.accent, knobShare.value)
        rimColor: root.isOn && !Theme.isContrastIncreased ? "transparent" : Theme.controlRim

        GlassSurface {
            readonly property real inset: Math.max(1.5, root.trackHeight * 0.1)

            x: inset + (root.mirrored ? 1 - knobShare.value : knobShare.value) * (parent.width - width - 2 * inset)
            y: inset
            width: (root.trackHeight - 2 * inset) * 1.12
            height: root.trackHeight - 2 * inset
            radius: height / 2
            color: root.isOn ? Theme.knobOn : Theme.knobOff
            rimColor: root.isOn ? "transparent" : Theme.controlRim
        }
    }
}
