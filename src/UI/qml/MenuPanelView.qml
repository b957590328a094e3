// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The whole content of the floating panel.
FocusScope {
    id: root

    required property PanelModel panel
    property bool isTranslucent: true

    implicitWidth: PanelMeasures.panelWidth
    implicitHeight: stack.implicitHeight + 24
    Accessible.role: Accessible.Pane
    Accessible.name: "VELLO by QUORVIN"

    GlassSurface {
        anchors.fill: parent
        radius: 16
        color: root.isTranslucent ? Theme.window : Qt.rgba(Theme.window.r, Theme.window.g, Theme.window.b, 1)
        rimColor: Theme.windowRim
        shadowColor: root.isTranslucent ? Qt.rgba(0, 0, 0, 0.35) : "transparent"
        shadowRadius: 6
        shadowOffset: 3
    }
    Column {
        id: stack

        x: 12
        y: 12
        width: root.width - 24
        spacing: 10

        PanelHeader {
            width: parent.width
            panel: root.panel
        }
        SourceList {
            width: parent.width
            visible: root.panel.isAuthorized
            panel: root.panel
        }
        PermissionOnboardingView {
            width: parent.width
            visible: !root.panel.isAuthorized
            isDenied: root.panel.isDenied
            onAllowRequested: root.panel.allowCapture()
            onSettingsRequested: root.panel.openCaptureSettings()
        }
        PanelText {
            width: parent.width
            visible: root.panel.isAuthorized && root.panel.sources.count === 1
            bottomPadding: 6
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: qsTr("No apps are playing audio right now.")
            font.pixelSize: Theme.caption
            color: Theme.secondary
        }
        PanelFooter {
            width: parent.width
            panel: root.panel
        }
    }
}
