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
    /// Name of the saved preset that gets another name; empty while a curve is saved.
    property string renamedPreset: ""
    property alias presetName: naming.presetName
    readonly property alias isPresetNameFieldFocused: naming.isPresetNameFieldFocused

    function beginNaming(): void {
        if (root.renamedPreset !== "")
            root.presetName = "";
        root.renamedPreset = "";
        showNaming();
    }
    function beginRenaming(name: string): void {
        root.renamedPreset = name;
        root.presetName = name;
        showNaming();
    }
    function showNaming(): void {
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
        if (root.renamedPreset === "" ? root.equalizer.savePreset(root.presetName) : root.equalizer.renamePreset(root.renamedPreset, root.presetName))
            root.endNaming();
    }

    spacing: 12

    PresetControls {
        id: controls

        width: parent.width
        equalizer: root.equalizer
        onSaveRequested: root.beginNaming()
        onRenamingRequested: name => root.beginRenaming(name)
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
            isRenaming: root.renamedPreset !== ""
            canSave: isRenaming ? root.equalizer.canRenamePreset(root.renamedPreset, root.presetName) : !root.equalizer.isBlank(root.presetName)
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
