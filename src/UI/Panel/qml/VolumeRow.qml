// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// The output and the volume of the source.
RowLayout {
    id: root

    required property EqualizerModel equalizer

    spacing: 8
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("Volume")

    IconButton {
        id: outputButton

        symbol: "speaker.wave.2.fill"
        // TRANSLATORS: The device that plays an application. For screen readers.
        label: qsTr("Output route")
        hint: root.equalizer.currentOutputRouteName
        onClicked: menu.open()

        PanelMenu {
            id: menu

            button: outputButton
            entries: root.equalizer.routes
            label: outputButton.label
            // Names of similar devices differ at their ends.
            elide: Text.ElideMiddle
        }
    }
    SmallSlider {
        Layout.fillWidth: true
        level: root.equalizer.volume
        Accessible.name: qsTr("Volume")
        Accessible.description: root.equalizer.volumeText
        onMoveRequested: level => root.equalizer.volume = level
    }
    PanelText {
        Layout.preferredWidth: Math.max(36, implicitWidth)
        horizontalAlignment: Text.AlignRight
        text: root.equalizer.volumeText
        font.pixelSize: Theme.caption2
        color: Theme.secondary
    }
}
