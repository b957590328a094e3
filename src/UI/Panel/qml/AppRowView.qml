// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// The header of a card: name of the source, output, level and switch of the equalizer.
PressControl {
    id: root

    required property SourceItem source
    /// From 0 (closed) to 1 (open).
    required property real expansion
    /// While false, nothing in the row moves by itself.
    required property bool isOnScreen
    /// Space above and below the line that also accepts clicks.
    required property real margin
    readonly property real iconSize: 22
    readonly property real lineHeight: Math.max(root.iconSize, root.implicitContentHeight)

    implicitHeight: root.lineHeight + 2 * root.margin
    verticalPadding: root.margin
    horizontalPadding: 12
    ringRadius: 11
    ringGap: -3
    // TRANSLATORS: %1 is an application, whose card is open or closed. For screen readers.
    Accessible.name: root.source.isExpanded ? qsTr("%1, expanded").arg(root.source.name) : qsTr("%1, collapsed").arg(root.source.name)
    Accessible.description: root.followingText + (root.followingText !== "" && root.clippingText !== "" ? ", " : "") + root.clippingText

    // TRANSLATORS: The sound is louder than full scale. For screen readers.
    readonly property string clippingText: root.source.isClipping ? qsTr("Clipping") : ""
    // TRANSLATORS: The application uses the settings of the entry “System”.
    readonly property string followingText: root.source.equalizer.isFollowingSystem ? qsTr("Follows System") : ""

    contentItem: RowLayout {
        spacing: 10

        Item {
            Layout.preferredWidth: root.iconSize
            Layout.preferredHeight: root.iconSize

            AppIconView {
                anchors.fill: parent
                visible: !root.source.isSystem && root.source.hasIcon
                source: root.source
            }
            Symbol {
                anchors.centerIn: parent
                visible: root.source.isSystem || !root.source.hasIcon
                name: root.source.isSystem ? "speaker.wave.2.fill" : "app.dashed"
                pointSize: 14
                color: root.source.isSystem ? Theme.accent : Theme.secondary
            }
        }
        NameText {
            Layout.fillWidth: true
            // Layouts round to whole points. A name narrower by a fraction would be elided.
            Layout.preferredWidth: Math.ceil(implicitWidth)
            Layout.maximumWidth: Math.ceil(implicitWidth)
            text: root.source.name
            font.weight: root.source.isSystem ? Font.Medium : Font.Normal
        }
        Item {
            Layout.fillWidth: true
            Layout.minimumWidth: 8

            FollowingMark {
                // Stands in the space after the name, and takes none of its own.
                anchors.left: parent.left
                anchors.leftMargin: -4
                anchors.verticalCenter: parent.verticalCenter
                visible: root.followingText !== ""
                hint: root.followingText
            }
        }
        RouteLabel {
            Layout.preferredWidth: 72
            Layout.rightMargin: 4
            visible: !root.source.isExpanded && root.source.outputRouteName !== ""
            clock: root.source.clock
            isOnScreen: root.isOnScreen
            text: root.source.outputRouteName
        }
        LevelMeterView {
            isClipping: root.source.isClipping
            hasLevel: root.source.hasLevel
            level: root.source.level
            clock: root.source.clock
            isOnScreen: root.isOnScreen
        }
        SwitchToggle {
            isOn: root.source.isEQEnabled
            label: qsTr("EQ enabled for %1").arg(root.source.name)
            hint: qsTr("Bypass the equalizer for %1").arg(root.source.name)
            onSwitched: isOn => root.source.isEQEnabled = isOn
        }
        Symbol {
            name: "chevron.down"
            pointSize: Theme.caption2
            color: Theme.tertiary
            rotation: 180 * root.expansion
        }
    }
}
