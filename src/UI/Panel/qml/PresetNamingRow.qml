// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vello

/// Asks the user for the name of a curve to save.
RowLayout {
    id: root

    required property bool canSave
    property alias presetName: field.text
    readonly property alias isPresetNameFieldFocused: field.activeFocus

    signal committed
    signal canceled

    function takeFocus(): void {
        field.forceActiveFocus();
    }

    spacing: 8

    T.TextField {
        id: field

        readonly property bool isMirrored: LayoutMirroring.enabled
        readonly property real textPadding: 8
        readonly property real buttonPadding: 24

        Layout.fillWidth: true
        implicitHeight: Math.max(24, contentHeight + 8)
        leftPadding: field.isMirrored ? field.buttonPadding : field.textPadding
        rightPadding: field.isMirrored ? field.textPadding : field.buttonPadding
        verticalAlignment: TextInput.AlignVCenter
        placeholderText: qsTr("Preset name")
        placeholderTextColor: Theme.tertiary
        color: Theme.primary
        selectionColor: Theme.accentFill
        selectedTextColor: Theme.onAccent
        selectByMouse: true
        maximumLength: 200
        font.pixelSize: Theme.callout
        Accessible.name: placeholderText
        onAccepted: root.committed()
        Keys.onEscapePressed: root.canceled()

        background: Rectangle {
            radius: 6
            color: Theme.field
            border.width: field.activeFocus ? 2 : 1
            border.color: field.activeFocus ? Theme.accent : Theme.quaternary
        }
        Text {
            anchors.fill: parent
            leftPadding: field.leftPadding
            rightPadding: field.rightPadding
            verticalAlignment: Text.AlignVCenter
            visible: field.text === "" && field.preeditText === ""
            text: field.placeholderText
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font: field.font
            color: field.placeholderTextColor
            Accessible.ignored: true
        }
        IconButton {
            anchors.right: parent.right
            anchors.rightMargin: 6 - symbolMargin
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 20
            implicitHeight: 20
            symbol: "xmark"
            symbolSize: Theme.scaled(9)
            symbolColor: Theme.tertiary
            label: qsTr("Cancel saving preset")
            onClicked: root.canceled()
        }
    }
    ProminentButton {
        text: qsTr("Save")
        pixelSize: Theme.callout
        implicitHeight: field.implicitHeight
        enabled: root.canSave
        onClicked: root.committed()
    }
}
