// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Launch at login, what went wrong, the maker, and Quit.
Column {
    id: root

    required property PanelModel panel

    spacing: 5
    leftPadding: 4
    rightPadding: 4

    Item {
        width: root.width - 8
        height: Math.max(launch.height, launchText.implicitHeight)

        Text {
            id: launchText

            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, parent.width - launch.width - launch.anchors.leftMargin)
            horizontalAlignment: Text.AlignLeft
            wrapMode: Text.Wrap
            text: qsTr("Launch at Login")
            textFormat: Text.PlainText
            font.pixelSize: Theme.body
            color: Theme.primary
            Accessible.ignored: true
        }
        SwitchToggle {
            id: launch

            anchors.verticalCenter: parent.verticalCenter
            anchors.left: launchText.right
            anchors.leftMargin: 8
            trackHeight: 18
            isOn: root.panel.launchesAtLogin
            label: launchText.text
            // Its text belongs to it.
            containmentMask: HitArea {
                control: launch
                x: Math.min(0, launchText.x - launch.x)
                width: launchText.width + launch.anchors.leftMargin + launch.width
            }
            onSwitched: isOn => root.panel.launchesAtLogin = isOn
        }
    }
    PanelText {
        width: root.width - 8
        visible: root.panel.didFailToUpdateLaunch
        text: qsTr("Could not update launch setting.")
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption2
        color: Theme.secondary
        Accessible.role: Accessible.AlertMessage
    }
    PanelText {
        width: root.width - 8
        visible: text !== ""
        text: root.panel.saveProblem
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption2
        color: Theme.secondary
        Accessible.role: Accessible.AlertMessage
    }
    Item {
        width: root.width - 8
        height: quit.height

        PanelText {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("By QUORVIN")
            font.pixelSize: Theme.caption2
            color: Theme.tertiary
            opacity: Theme.isContrastIncreased ? 1 : 0.85
        }
        PressControl {
            id: quit

            readonly property color ink: quit.hovered ? Theme.secondary : Theme.tertiary

            anchors.right: parent.right
            implicitHeight: Math.max(14, implicitContentHeight)
            ringRadius: 5
            text: qsTr("Quit")
            onClicked: root.panel.quit()

            contentItem: Row {
                spacing: 3

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: quit.text
                    textFormat: Text.PlainText
                    font.pixelSize: Theme.caption2
                    color: quit.ink
                    Accessible.ignored: true
                }
                Symbol {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "chevron.right"
                    rotation: Theme.isRightToLeft ? 180 : 0
                    pointSize: Theme.scaled(8)
                    color: quit.ink
                }
            }
        }
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.panel.quit()
    }
}
