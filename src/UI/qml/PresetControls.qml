// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// Which curve it is, how fast the music goes, and what can be done with the curve.
Item {
    id: root

    required property EqualizerModel equalizer

    signal saveRequested

    function takeFocus(): void {
        menuButton.forceActiveFocus();
    }

    implicitHeight: row.implicitHeight

    RowLayout {
        id: row

        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(implicitWidth, parent.width)
        spacing: 8

        CapsuleButton {
            id: menuButton

            // A long name gives way to what stands beside it.
            Layout.fillWidth: true
            Layout.minimumWidth: 70
            Layout.maximumWidth: implicitWidth
            symbol: "dial.medium"
            title: root.equalizer.currentPresetName
            onClicked: menu.open()

            PanelMenu {
                id: menu

                x: menuButton.mirrored ? menuButton.width - width : 0
                y: menuButton.height + 4
                entries: root.equalizer.presets
                label: menuButton.title
                onClosed: menuButton.forceActiveFocus(Qt.PopupFocusReason)
            }
        }
        TempoReadout {
            Layout.preferredWidth: implicitWidth
            Layout.rightMargin: -row.spacing * (1 - share)
            isPresent: root.equalizer.hasTempo
            beatsPerMinute: root.equalizer.beatsPerMinute
        }
        LabelButton {
            visible: root.equalizer.isUnsavedCustomCurve
            text: qsTr("Save")
            symbol: "square.and.arrow.down"
            onClicked: root.saveRequested()
        }
        Rectangle {
            implicitWidth: 1
            implicitHeight: 12
            color: Theme.quaternary
        }
        LabelButton {
            text: qsTr("Reset")
            symbol: "arrow.counterclockwise"
            enabled: !root.equalizer.isFlat
            onClicked: root.equalizer.reset()
        }
    }
}
