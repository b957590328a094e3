// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// Which curve it is, how fast the music goes, and what can be done with the curve.
RowLayout {
    id: root

    required property EqualizerModel equalizer

    signal saveRequested

    spacing: 8

    CapsuleButton {
        id: menuButton

        Layout.fillWidth: false
        Layout.maximumWidth: implicitWidth
        Layout.minimumWidth: 70
        symbol: "dial.medium"
        text: root.equalizer.currentPresetName
        onClicked: menu.open()

        PanelMenu {
            id: menu

            y: menuButton.height + 4
            entries: root.equalizer.presets
            label: menuButton.text
            onClosed: menuButton.forceActiveFocus(Qt.PopupFocusReason)
        }
    }
    PanelText {
        Layout.minimumWidth: 48
        visible: opacity > 0
        opacity: tempo.value
        text: qsTr("%1 BPM").arg(root.equalizer.beatsPerMinute)
        font.pixelSize: Theme.caption2
        font.weight: Font.Medium
        color: Theme.secondary
        Accessible.name: qsTr("%1 beats per minute").arg(root.equalizer.beatsPerMinute)

        SpringFollower {
            id: tempo

            to: root.equalizer.beatsPerMinute > 0 ? 1 : 0
            response: 0.2
            isAnimated: !Theme.isMotionReduced
        }
    }
    Item {
        Layout.fillWidth: true
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
