// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Vello

/// What a file of presets becomes, before it is saved, or why it cannot be read. Takes the place of the list.
FocusScope {
    id: root

    required property PresetImport presetImport
    /// Height that the screen leaves for the view.
    required property real room
    readonly property bool canSave: root.presetImport.hasPresets && root.presetImport.canSave(name.text)
    readonly property real heightBesideReport: title.height + (name.visible ? name.height + content.spacing : 0) + buttons.height + 2 * content.spacing

    function commit(): void {
        root.presetImport.save(name.text);
    }
    function begin(): void {
        name.text = root.presetImport.suggestedName;
        report.scrollTo(0);
        if (!root.presetImport.isOpen)
            return;
        if (root.presetImport.hasOnePreset)
            name.forceActiveFocus(Qt.TabFocusReason);
        else if (root.presetImport.hasPresets)
            save.forceActiveFocus(Qt.TabFocusReason);
        else
            cancel.forceActiveFocus(Qt.TabFocusReason);
    }

    implicitHeight: content.implicitHeight + 2 * content.y
    Accessible.role: Accessible.Pane
    Accessible.name: title.text
    Keys.onEscapePressed: root.presetImport.close()
    Keys.onUpPressed: report.scrollByLines(-1)
    Keys.onDownPressed: report.scrollByLines(1)
    Component.onCompleted: root.begin()

    Connections {
        target: root.presetImport

        function onChanged(): void {
            root.begin();
        }
    }
    NimboGlassModifier {
        anchors.fill: parent
        radius: 20
        isHovered: false
        shadowColor: Theme.glassShadow
        shadowRadius: 4
        shadowOffset: 1.5
    }
    Column {
        id: content

        x: 12
        y: 12
        width: root.width - 2 * x
        spacing: 10

        PanelText {
            id: title

            width: parent.width
            horizontalAlignment: Text.AlignLeft
            text: root.presetImport.hasPresets ? qsTr("Import preset") : qsTr("This file cannot be imported")
            wrapMode: Text.Wrap
            font.pixelSize: Theme.headline
            font.weight: Font.Bold
        }
        NameField {
            id: name

            width: parent.width
            visible: root.presetImport.hasOnePreset
            onAccepted: root.commit()
        }
        ScrollArea {
            id: report

            width: parent.width
            // At least one line of it is in view, and always the buttons.
            room: Math.max(2 * Theme.caption, root.room - 2 * content.y - root.heightBesideReport)
            contentHeight: lines.implicitHeight

            Column {
                id: lines

                width: report.width
                spacing: 10

                PanelText {
                    width: parent.width
                    horizontalAlignment: Text.AlignLeft
                    text: root.presetImport.summary
                    wrapMode: Text.Wrap
                    font.pixelSize: Theme.callout
                }
                Column {
                    width: parent.width
                    spacing: 4

                    Repeater {
                        model: root.presetImport.notes

                        delegate: PanelText {
                            required property string modelData

                            width: parent ? parent.width : 0
                            horizontalAlignment: Text.AlignLeft
                            text: modelData
                            wrapMode: Text.Wrap
                            maximumLineCount: 4
                            elide: Text.ElideRight
                            font.pixelSize: Theme.caption
                            color: Theme.secondary
                        }
                    }
                }
            }
        }
        Row {
            id: buttons

            anchors.right: parent.right
            topPadding: 2
            spacing: 10

            TextButton {
                id: cancel

                text: root.presetImport.hasPresets ? qsTr("Cancel") : qsTr("Close")
                onClicked: root.presetImport.close()
            }
            ProminentButton {
                id: save

                visible: root.presetImport.hasPresets
                text: qsTr("Save")
                pixelSize: Theme.callout
                enabled: root.canSave
                onClicked: root.commit()
            }
        }
    }
}
