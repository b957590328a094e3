// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The frequency and the gain of one band, in the gap above the bands.
GlassSurface {
    id: root

    /// Null while no value is wanted in view.
    required property BandColumn column
    /// The parent of all columns. The text stays between its edges.
    required property Item bounds
    property BandColumn latest: null

    onColumnChanged: {
        if (root.column)
            root.latest = root.column;
    }
    visible: presence.share > 0
    opacity: presence.share
    x: root.bounds.x + Math.round(Math.max(0, Math.min(root.bounds.width - width, (root.latest?.x ?? 0) + ((root.latest?.width ?? 0) - width) / 2)))
    y: -height
    width: Math.ceil(frequency.width + gain.width + 20)
    height: Math.ceil(gain.implicitHeight + 2)
    radius: height / 2
    color: Theme.menu
    rimColor: Theme.windowRim
    shadowColor: Theme.glassShadow
    shadowRadius: 2
    shadowOffset: 1

    PanelSpring {
        id: presence

        to: root.column ? 1 : 0
        response: 0.2
    }
    Text {
        id: frequency

        x: 8
        anchors.verticalCenter: parent.verticalCenter
        text: root.latest?.band.frequencyText ?? ""
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption2
        color: Theme.secondary
        Accessible.ignored: true
    }
    Text {
        id: gain

        anchors.right: parent.right
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        // As wide as the longest value, so that nothing moves while a band is dragged.
        width: Math.max(implicitWidth, widest.advanceWidth)
        horizontalAlignment: Text.AlignRight
        text: root.latest?.band.gainText ?? ""
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption2
        font.weight: Font.Medium
        color: Theme.primary
        Accessible.ignored: true
    }
    TextMetrics {
        id: widest

        font: gain.font
        text: root.latest?.band.widestGainText ?? ""
    }
}
