// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vello

/// Asks for the name of a curve that is to be saved.
RowLayout {
    id: root

    required property EqualizerModel equalizer

    signal finished

    function begin(): void {
        field.forceActiveFocus();
    }
    function commit(): void {
        if (root.equalizer.savePreset(field.text))
            root.finished();
    }

    spacing: 8

    T.TextField {
        id: field

        Layout.fillWidth: true
        implicitHeight: 24
        leftPadding: 8
        rightPadding: 24
        verticalAlignment: TextInput.AlignVCenter
        placeholderText: qsTr("Preset name")
        placeholderTextColor: Theme.tertiary
        color: Theme.primary
        selectionColor: Theme.accent
        selectedTextColor: Theme.onAccent
        selectByMouse: true
        maximumLength: 200
        font.pixelSize: Theme.callout
        Accessible.name: placeholderText
        onAccepted: root.commit()
        Keys.onEscapePressed: root.finished()

        background: Rectangle {
            radius: 6
            color: Theme.isDark ? Qt.rgba(0, 0, 0, 0.25) : Qt.rgba(1, 1, 1, 0.85)
            border.width: field.activeFocus ? 2 : 1
            border.color: field.activeFocus ? Theme.accent : Theme.quaternary
        }
        Text {
            anchors.fill: parent
            leftPadding: field.leftPadding
            verticalAlignment: Text.AlignVCenter
            visible: field.text === "" && field.preeditText === ""
            text: field.placeholderText
            font: field.font
            color: field.placeholderTextColor
            Accessible.ignored: true
        }
        IconButton {
            anchors.right: parent.right
            anchors.rightMargin: 6 - (width - symbolSize * 1.3) / 2
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 20
            implicitHeight: 20
            symbol: "xmark"
            symbolSize: 9
            symbolColor: Theme.tertiary
            label: qsTr("Cancel saving preset")
            onClicked: root.finished()
        }
    }
    ProminentButton {
        text: qsTr("Save")
        pixelSize: Theme.callout
        implicitHeight: 24
        enabled: !root.equalizer.isBlank(field.text)
        onClicked: root.commit()
    }
}
