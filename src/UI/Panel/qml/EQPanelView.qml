// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The body of an open card: the equalizer of its source.
Column {
    id: root

    required property EqualizerModel modelData
    property bool isOnScreen: true
    readonly property EqualizerModel equalizer: root.modelData

    property bool isNamingPreset: false
    property alias presetName: naming.presetName
    readonly property alias isPresetNameFieldFocused: naming.isPresetNameFieldFocused

    function beginNaming(): void {
        namingShare.response = 0.3;
        root.isNamingPreset = true;
        naming.takeFocus();
    }
    function endNaming(): void {
        namingShare.response = 0.25;
        root.isNamingPreset = false;
        controls.takeFocus();
    }
    function commitPresetSave(): void {
        if (root.equalizer.savePreset(root.presetName))
            root.endNaming();
    }

    spacing: 12

    PresetControls {
        id: controls

        width: parent.width
        equalizer: root.equalizer
        onSaveRequested: root.beginNaming()
    }
    Item {
        // Takes no space while it is closed, not even the spacing of the column.
        width: parent.width
        height: (naming.implicitHeight + root.spacing) * namingShare.value - root.spacing
        visible: root.isNamingPreset || namingShare.isMoving
        opacity: namingShare.share
        clip: namingShare.isMoving

        PanelSpring {
            id: namingShare

            to: root.isNamingPreset ? 1 : 0
        }
        PresetNamingRow {
            id: naming

            width: parent.width
            enabled: root.isNamingPreset
            canSave: !root.equalizer.isBlank(root.presetName)
            onCommitted: root.commitPresetSave()
            onCanceled: root.endNaming()
        }
    }
    VolumeRow {
        width: parent.width
        equalizer: root.equalizer
    }
    BandSliders {
        width: parent.width
        isOnScreen: root.isOnScreen
        equalizer: root.equalizer
    }
}
