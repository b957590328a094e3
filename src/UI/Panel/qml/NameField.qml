// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A field for the name of a preset.
T.TextField {
    id: root

    readonly property bool isMirrored: LayoutMirroring.enabled
    readonly property real leadingPadding: 8
    property real trailingPadding: root.leadingPadding

    implicitHeight: Math.max(24, contentHeight + 8)
    leftPadding: root.isMirrored ? root.trailingPadding : root.leadingPadding
    rightPadding: root.isMirrored ? root.leadingPadding : root.trailingPadding
    // At the start of the line, whichever direction the name has; an empty field has none.
    horizontalAlignment: TextInput.AlignLeft
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

    background: Rectangle {
        radius: 6
        color: Theme.field
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.accent : Theme.controlRim
    }
    Text {
        anchors.fill: parent
        leftPadding: root.leftPadding
        rightPadding: root.rightPadding
        horizontalAlignment: Text.AlignLeft
        verticalAlignment: Text.AlignVCenter
        visible: root.text === "" && root.preeditText === ""
        text: root.placeholderText
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font: root.font
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 10
        color: root.placeholderTextColor
        Accessible.ignored: true
    }
}
