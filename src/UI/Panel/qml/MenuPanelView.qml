// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The whole content of the floating panel.
FocusScope {
    id: root

    required property PanelModel panel
    property bool isTranslucent: true
    /// Height of the part of the screen that the panel may fill.
    property real availableHeight: Infinity
    readonly property real padding: 12
    /// The height without the list.
    readonly property real frameHeight: 2 * root.padding + header.height + footer.height + 2 * stack.spacing
    /// The height with a list of maximum height.
    readonly property real largestHeight: root.frameHeight + PanelMeasures.listHeight(Infinity, list.room)

    implicitWidth: PanelMeasures.panelWidth
    implicitHeight: stack.implicitHeight + 2 * root.padding
    Accessible.role: Accessible.Pane
    Accessible.name: "VELLO by QUORVIN"

    GlassSurface {
        anchors.fill: parent
        radius: 16
        color: root.isTranslucent ? Theme.window : Theme.opaqueWindow
        rimColor: Theme.windowRim
        shadowColor: root.isTranslucent ? Theme.windowShadow : "transparent"
        shadowRadius: 6
        shadowOffset: 3
    }
    DropArea {
        anchors.fill: parent
        keys: ["text/uri-list"]
        enabled: root.panel.isAuthorized
        onEntered: drag => drag.accepted = drag.urls.length === 1
        onDropped: drop => {
            root.panel.presetImport.openFile(drop.urls[0]);
            // The window that the file came from has the keyboard.
            root.Window.window.requestActivate();
        }

        Rectangle {
            anchors.fill: parent
            visible: (parent as DropArea).containsDrag
            radius: 16
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
        }
    }
    Column {
        id: stack

        x: root.padding
        y: root.padding
        width: root.width - 2 * root.padding
        spacing: 10

        PanelHeader {
            id: header

            width: parent.width
            panel: root.panel
        }
        SourceList {
            id: list

            width: parent.width
            visible: root.panel.isAuthorized && !root.panel.presetImport.isOpen
            panel: root.panel
            room: root.availableHeight - root.frameHeight
            // The presenter asks for the height before the window is polished.
            onHeightChanged: stack.forceLayout()
        }
        PresetImportView {
            width: parent.width
            visible: root.panel.isAuthorized && root.panel.presetImport.isOpen
            presetImport: root.panel.presetImport
            room: root.availableHeight - root.frameHeight
        }
        ScrollArea {
            width: parent.width
            visible: !root.panel.isAuthorized
            room: root.availableHeight - root.frameHeight
            contentHeight: onboarding.implicitHeight

            PermissionOnboardingView {
                id: onboarding

                width: parent.width
                isDenied: root.panel.isDenied
                onAllow: root.panel.allowCapture()
                onOpenSettings: root.panel.openCaptureSettings()
            }
        }
        PanelText {
            width: parent.width
            visible: list.visible && root.panel.sources.count === 1
            bottomPadding: 6
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: qsTr("No apps are playing audio right now.")
            font.pixelSize: Theme.caption
            color: Theme.secondary
        }
        PanelFooter {
            id: footer

            width: parent.width
            panel: root.panel
        }
    }
}
