// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// About, the title, and the master switch.
Item {
    id: root

    required property PanelModel panel

    implicitHeight: 22

    SpringFollower {
        id: headerTitleExpansion

        to: root.panel.headerTitleExpansion
        response: 0.256
        isAnimated: !Theme.isMotionReduced
    }
    Item {
        x: 4
        width: 28
        height: parent.height

        IconButton {
            // The symbol itself stands at the slot's edge.
            x: -(width - symbolSize * 1.3) / 2
            anchors.verticalCenter: parent.verticalCenter
            symbol: "ellipsis.circle"
            label: qsTr("About VELLO")
            onClicked: root.panel.openAbout()
        }
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        x: 4 + 28 + 8
        width: root.width - 2 * x
        horizontalAlignment: Text.AlignHCenter
        text: "VELLO"
        font.pixelSize: Theme.headline
        font.weight: Font.Bold
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Math.round(Theme.headline * 0.75)
        maximumLineCount: 1
        color: Theme.primary
        scale: PanelMeasures.titleScale(headerTitleExpansion.value)
        opacity: PanelMeasures.titleOpacity(headerTitleExpansion.value)
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Item {
        x: root.width - 4 - 28
        width: 28
        height: parent.height

        IconButton {
            x: parent.width - width + (width - symbolSize * 1.3) / 2
            anchors.verticalCenter: parent.verticalCenter
            visible: root.panel.isAuthorized
            symbol: "power"
            label: qsTr("Equalizing enabled")
            hint: qsTr("Turn all equalizing on or off")
            symbolColor: root.panel.isProcessingEnabled ? Theme.accent : Theme.tertiary
            Accessible.role: Accessible.CheckBox
            Accessible.checkable: true
            Accessible.checked: root.panel.isProcessingEnabled
            Accessible.onToggleAction: clicked()
            onClicked: root.panel.isProcessingEnabled = !root.panel.isProcessingEnabled
        }
    }
}
