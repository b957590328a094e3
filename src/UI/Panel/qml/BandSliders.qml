// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The bands over the live spectrum and the response of the filter, with the decibel scale on the left. Low frequencies are on the left in every
/// language.
Item {
    id: root

    required property EqualizerModel equalizer
    required property bool isOnScreen
    readonly property real sliderHeight: 132
    /// All numbers have the size that fits the columns. Larger numbers widen the gutter.
    readonly property int numberSize: PanelMeasures.numberSize(Theme.caption2, 26)
    readonly property real gutterWidth: Math.max(26, PanelMeasures.numberWidth(root.numberSize) + 2)
    readonly property real spacing: 6

    implicitHeight: root.sliderHeight + 4 + Theme.scaled(12)
    enabled: !root.equalizer.isBypassed
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    PanelSpring {
        id: saturation

        to: root.enabled ? 1 : 0
        response: 0.25
    }
    Item {
        width: root.gutterWidth
        height: root.sliderHeight

        ScaleLabel {
            anchors.top: parent.top
            size: root.numberSize
            text: "+12"
        }
        ScaleLabel {
            anchors.verticalCenter: parent.verticalCenter
            size: root.numberSize
            text: "0"
        }
        ScaleLabel {
            anchors.bottom: parent.bottom
            size: root.numberSize
            text: "\u221212"
        }
    }
    ResponseView {
        x: bands.x
        width: bands.width
        height: root.sliderHeight
        visible: PanelMeasures.showsResponse
        sampleRate: root.equalizer.sampleRate
        gains: bands.gainsInForce
        color: Theme.response(saturation.value)
    }
    SpectrumGlowView {
        x: bands.x - bleed
        y: -bleed
        width: bands.width + 2 * bleed
        height: root.sliderHeight + 2 * bleed
        reduceTransparency: Theme.isTransparencyReduced
        magnitudes: root.isOnScreen ? root.equalizer.spectrum : []
        saturation: saturation.value
    }
    Row {
        id: bands

        readonly property real columnWidth: (width + spacing) / Math.max(1, columns.count) - spacing
        readonly property list<real> gainsInForce: bands.allColumns().map(column => column.shownGainInForce)
        /// The one whose value is wanted in view; null: none.
        readonly property BandColumn readColumn: bands.allColumns().reduce((most, column) => column.attention > (most?.attention ?? 0) ? column : most, null)

        function allColumns(): var {
            const found = [];
            for (let index = 0; index < columns.count; ++index) {
                const column = columns.itemAt(index) as BandColumn;
                if (column)
                    found.push(column);
            }
            return found;
        }

        x: root.gutterWidth + root.spacing
        width: root.width - x
        spacing: root.spacing

        Repeater {
            id: columns

            model: root.equalizer.bands
            // A delegate cannot access its context, so the common properties of all columns are bound here.
            onItemAdded: (index, item) => {
                const column = item as BandColumn;
                column.width = Qt.binding(() => bands.columnWidth);
                column.height = Qt.binding(() => root.height);
                column.numberSize = Qt.binding(() => root.numberSize);
                column.saturation = Qt.binding(() => saturation.value);
            }

            delegate: BandColumn {
            }
        }
    }
    BandReadout {
        column: bands.readColumn
        bounds: bands
    }
}
