// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Explains why sound must be captured, and offers the user's next step.
Column {
    id: root

    required property bool isDenied

    signal allow
    signal openSettings

    padding: 20
    spacing: 14

    Image {
        anchors.horizontalCenter: parent.horizontalCenter
        width: 48
        height: 48
        source: root.visible ? "qrc:/vello/symbols/vello.svg" : "" // rarely shown, so loaded only on demand
        sourceSize.width: 96
        sourceSize.height: 96
        Accessible.ignored: true
    }
    Column {
        anchors.horizontalCenter: parent.horizontalCenter
        width: root.width - 2 * root.padding
        spacing: 6

        PanelText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: qsTr("VELLO needs System Audio access")
            font.pixelSize: Theme.headline
            font.weight: Font.Bold
        }
        PanelText {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(236, parent.width)
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            // TRANSLATORS: On Linux: “VELLO has to capture what apps play to equalize it. Audio stays on your computer and is
            // never recorded.”
            text: qsTr("macOS requires system audio access to equalize apps. Audio stays on your Mac and is never recorded.")
            font.pixelSize: Theme.caption
        }
    }
    ProminentButton {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: !root.isDenied
        width: Math.min(implicitWidth, root.width - 2 * root.padding)
        text: qsTr("Allow Access")
        onClicked: root.allow()
    }
    ProminentButton {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: root.isDenied
        width: Math.min(implicitWidth, root.width - 2 * root.padding)
        // TRANSLATORS: On Linux: “Ask Again…”, which asks for the permission once more.
        text: qsTr("Open System Settings…")
        onClicked: root.openSettings()
    }
    PanelText {
        width: root.width - 2 * root.padding
        visible: root.isDenied
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        // TRANSLATORS: On Linux: “Or run “vello permission allow” in a terminal, then come back.” The command is not
        // translated.
        text: qsTr("Enable VELLO under Screen & System Audio Recording, then come back.")
        font.pixelSize: Theme.caption2
        color: Theme.tertiary
    }
}
