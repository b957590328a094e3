// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// The current curve, the tempo of the music, and the actions on the curve.
Item {
    id: root

    required property EqualizerModel equalizer

    signal saveRequested
    signal renamingRequested(string name)

    function takeFocus(): void {
        menuButton.forceActiveFocus();
    }

    /// The word for an unsaved curve is always whole: beside it are the controls that save the curve.
    readonly property real smallestTitleWidth: Math.ceil(menuButton.implicitWidth - title.advanceWidth + custom.advanceWidth) + 1
    /// The width with everything that may appear in the row, so that nothing moves when a tempo or a custom curve
    /// appears.
    readonly property real largestWidth: root.smallestTitleWidth + Theme.scaled(48) + save.implicitWidth + divider.implicitWidth + reset.implicitWidth + 4 * row.spacing
    /// Whether large texts or long words need two rows.
    readonly property bool isBroken: root.width > 0 && root.largestWidth > root.width

    // One at a time, because a row lays out its items in the order in which they are added.
    onIsBrokenChanged: {
        for (const part of [save, divider, reset])
            part.parent = root.isBroken ? secondRow : row;
    }
    implicitHeight: row.implicitHeight + (root.isBroken ? 4 + secondRow.implicitHeight : 0)

    TextMetrics {
        id: title

        text: menuButton.title
        font: custom.font
    }
    TextMetrics {
        id: custom

        text: qsTr("Custom")
        font.pixelSize: Theme.callout
    }
    RowLayout {
        id: row

        /// With a title that is cut as far as it may be.
        readonly property real smallestWidth: root.smallestTitleWidth + (tempo.visible ? tempo.implicitWidth + spacing : 0)

        x: root.isBroken ? (LayoutMirroring.enabled ? root.width - width : 0) : (root.width - width) / 2
        width: Math.min(implicitWidth, Math.max(root.width, root.isBroken ? smallestWidth : 0))
        // Long words in the largest texts are drawn smaller.
        transformOrigin: LayoutMirroring.enabled ? Item.Right : Item.Left
        scale: Math.min(1, root.width / Math.max(1, width))
        spacing: 8

        CapsuleButton {
            id: menuButton

            // A long name yields space to its neighbours.
            Layout.fillWidth: true
            Layout.minimumWidth: root.smallestTitleWidth
            Layout.maximumWidth: Math.ceil(implicitWidth)
            symbol: "dial.medium"
            title: root.equalizer.currentPresetName
            hint: root.equalizer.isFollowingSystem ? qsTr("Follows System: %1").arg(root.equalizer.systemPresetName) : ""
            onClicked: menu.open()

            PanelMenu {
                id: menu

                property string renamed: ""

                button: menuButton
                entries: root.equalizer.presets
                label: menuButton.title
                // The menu has given the focus back by then.
                onClosed: {
                    if (menu.renamed !== "")
                        root.renamingRequested(menu.renamed);
                    menu.renamed = "";
                }
            }
        }
        TempoReadout {
            id: tempo

            Layout.preferredWidth: implicitWidth
            Layout.rightMargin: -row.spacing * (1 - share)
            isPresent: root.equalizer.hasTempo
            beatsPerMinute: root.equalizer.beatsPerMinute
        }
        LabelButton {
            id: save

            visible: root.equalizer.isUnsavedCustomCurve
            text: qsTr("Save")
            symbol: "square.and.arrow.down"
            onClicked: root.saveRequested()
        }
        Rectangle {
            id: divider

            implicitWidth: 1
            implicitHeight: 12
            color: Theme.quaternary
        }
        LabelButton {
            id: reset

            // TRANSLATORS: Sets all bands to zero.
            text: qsTr("Reset")
            symbol: "arrow.counterclockwise"
            enabled: !root.equalizer.isFlat
            onClicked: root.equalizer.reset()
        }
    }
    Connections {
        target: root.equalizer

        function onRenamingRequested(name: string): void {
            menu.renamed = name;
            menu.close();
        }
        function onPresetDeleted(): void {
            undoTime.restart();
        }
    }
    Timer {
        id: undoTime

        interval: 5000
        onTriggered: root.equalizer.forgetDeletedPreset()
    }
    Component.onDestruction: root.equalizer.forgetDeletedPreset()

    RowLayout {
        id: secondRow

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        transformOrigin: LayoutMirroring.enabled ? Item.Left : Item.Right
        scale: Math.min(1, root.width / Math.max(1, implicitWidth))
        spacing: row.spacing
    }
}
