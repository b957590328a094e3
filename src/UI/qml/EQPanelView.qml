// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The body of an open card: the equalizer of its source.
Column {
    id: root

    required property EqualizerModel modelData
    readonly property EqualizerModel equalizer: root.modelData

    property bool isNamingPreset: false

    spacing: 12

    PresetControls {
        width: parent.width
        equalizer: root.equalizer
        onSaveRequested: {
            root.isNamingPreset = true;
            naming.begin();
        }
    }
    Item {
        // It takes no room, not even the spacing of the stack, while it is closed.
        width: parent.width
        height: (naming.implicitHeight + root.spacing) * share.value - root.spacing
        visible: root.isNamingPreset || share.isMoving
        opacity: Math.max(0, Math.min(1, share.value))
        clip: share.isMoving

        SpringFollower {
            id: share

            to: root.isNamingPreset ? 1 : 0
            response: root.isNamingPreset ? 0.3 : 0.25
            isAnimated: !Theme.isMotionReduced
        }
        PresetNamingRow {
            id: naming

            width: parent.width
            equalizer: root.equalizer
            onFinished: root.isNamingPreset = false
        }
    }
    VolumeRow {
        width: parent.width
        equalizer: root.equalizer
    }
    BandSliders {
        width: parent.width
        equalizer: root.equalizer
    }
}
