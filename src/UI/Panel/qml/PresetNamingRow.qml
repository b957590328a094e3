// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// Asks the user for the name of a curve to save, or for another name of a saved one.
RowLayout {
    id: root

    required property bool canSave
    required property bool isRenaming
    property alias presetName: field.text
    readonly property alias isPresetNameFieldFocused: field.activeFocus

    signal committed
    signal canceled

    /// A name that is there already is replaced by the next one that is typed.
    function takeFocus(): void {
        field.forceActiveFocus();
        field.selectAll();
    }

    spacing: 8

    NameField {
        id: field

        Layout.fillWidth: true
        trailingPadding: 24
        onAccepted: root.committed()
        Keys.onEscapePressed: root.canceled()

        IconButton {
            anchors.right: parent.right
            anchors.rightMargin: 6 - symbolMargin
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 20
            implicitHeight: 20
            symbol: "xmark"
            symbolSize: Theme.scaled(9)
            symbolColor: Theme.tertiary
            label: root.isRenaming ? qsTr("Cancel renaming preset") : qsTr("Cancel saving preset")
            onClicked: root.canceled()
        }
    }
    ProminentButton {
        text: root.isRenaming ? qsTr("Rename") : qsTr("Save")
        pixelSize: Theme.callout
        implicitHeight: field.implicitHeight
        enabled: root.canSave
        onClicked: root.committed()
    }
}
