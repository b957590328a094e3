// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// What the application is, who made it, and where to read more.
Rectangle {
    id: root

    signal dismiss

    implicitWidth: Math.max(360, content.implicitWidth + 72, links.implicitWidth + done.implicitWidth + 88)
    implicitHeight: Math.max(420, content.y + content.implicitHeight + done.implicitHeight + 40)
    color: Theme.aboutWindow

    Column {
        id: content

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: 32
        width: parent.width - 72
        spacing: 12

        Row {
            anchors.left: parent.left
            spacing: 14

            Image {
                width: 56
                height: 56
                source: "qrc:/vello/symbols/vello.svg"
                sourceSize.width: 112
                sourceSize.height: 112
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTr("VELLO app icon")
            }
            Column {
                anchors.verticalCenter: parent.verticalCenter
                spacing: 3

                PanelText {
                    anchors.left: parent.left
                    text: "VELLO"
                    font.pixelSize: Theme.title2
                    font.weight: Font.DemiBold
                }
                PanelText {
                    anchors.left: parent.left
                    // TRANSLATORS: QUORVIN makes VELLO.
                    text: qsTr("By QUORVIN")
                    font.pixelSize: Theme.subheadline
                }
                PanelText {
                    anchors.left: parent.left
                    text: qsTr("Version %1, Apache License 2.0").arg(PanelMeasures.version)
                    font.pixelSize: Theme.caption
                    color: Theme.secondary
                }
            }
        }
        PanelText {
            anchors.left: parent.left
            horizontalAlignment: Text.AlignLeft
            // TRANSLATORS: On Linux: “right from your system tray”. Two lines of at most 30 letters.
            text: qsTr("Per-app sound control,\nright from your menu bar.")
            font.pixelSize: Theme.headline
            font.weight: Font.Bold
        }
        Column {
            anchors.left: parent.left
            spacing: 10

            AboutFeature {
                anchors.left: parent.left
                icon: "slider.vertical.3"
                title: qsTr("Shape each app")
                detail: qsTr("Use the 8-band equalizer independently\nfor the apps playing sound.")
            }
            AboutFeature {
                anchors.left: parent.left
                icon: "speaker.wave.2"
                title: qsTr("Choose its output")
                detail: qsTr("Route an app to the system output\nor a specific speaker.")
            }
            AboutFeature {
                anchors.left: parent.left
                icon: "lock"
                // TRANSLATORS: On Linux: “Audio stays on your computer”.
                title: qsTr("Audio stays on your Mac")
                detail: qsTr("VELLO processes audio locally\nand does not record or store it.")
            }
        }
    }
    Row {
        id: links

        anchors.left: parent.left
        anchors.leftMargin: 36
        anchors.verticalCenter: done.verticalCenter
        spacing: 16

        LinkText {
            // TRANSLATORS: A link to a page with more about VELLO.
            text: qsTr("About")
            address: PanelMeasures.webSite
        }
        LinkText {
            // TRANSLATORS: A link to the guide for users.
            text: qsTr("Help")
            address: PanelMeasures.guide
        }
    }
    ProminentButton {
        id: done

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.rightMargin: 36
        anchors.bottomMargin: 28
        focus: true
        text: qsTr("Done")
        onClicked: root.dismiss()
    }
}
