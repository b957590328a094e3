// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// About, the title, and the master switch.
Item {
    id: root

    required property PanelModel panel
    readonly property real padding: 4
    readonly property real slotWidth: 28
    readonly property real spacing: 8

    implicitHeight: Math.max(22, title.implicitHeight)

    PanelSpring {
        id: headerTitleExpansion

        to: root.panel.headerTitleExpansion
        response: 0.256
    }
    Item {
        anchors.left: parent.left
        anchors.leftMargin: root.padding
        width: root.slotWidth
        height: parent.height

        IconButton {
            // The symbol, not the button, is aligned with the slot's edge.
            anchors.left: parent.left
            anchors.leftMargin: -symbolMargin
            anchors.verticalCenter: parent.verticalCenter
            symbol: "ellipsis.circle"
            label: qsTr("About VELLO")
            onClicked: root.panel.openAbout()
        }
    }
    PanelText {
        id: title

        anchors.centerIn: parent
        width: root.width - 2 * (root.padding + root.slotWidth + root.spacing)
        horizontalAlignment: Text.AlignHCenter
        text: "VELLO"
        font.pixelSize: Theme.headline
        font.weight: Font.Bold
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Math.round(Theme.headline * 0.75)
        maximumLineCount: 1
        renderType: Text.QtRendering // native letters are not made for a scale
        scale: PanelMeasures.titleScale(headerTitleExpansion.value)
        opacity: Math.max(PanelMeasures.titleOpacity(headerTitleExpansion.value), Theme.isContrastIncreased ? 0.75 : 0)
        Accessible.role: Accessible.Heading
    }
    Item {
        // Keeps its width without the switch, so that the title stays centred.
        anchors.right: parent.right
        anchors.rightMargin: root.padding
        width: root.slotWidth
        height: parent.height

        IconToggle {
            anchors.right: parent.right
            anchors.rightMargin: -symbolMargin
            anchors.verticalCenter: parent.verticalCenter
            visible: root.panel.isAuthorized
            symbol: "power"
            label: qsTr("Equalizing enabled")
            hint: qsTr("Turn all equalizing on or off")
            isOn: root.panel.isProcessingEnabled
            onSwitched: isOn => root.panel.isProcessingEnabled = isOn
        }
    }
}
