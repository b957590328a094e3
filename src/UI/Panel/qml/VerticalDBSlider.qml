// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The gain of one band. Its owner binds `gain` and handles `edited`.
Item {
    id: root

    required property real gain
    required property string label
    /// The gain shown during the glide to a new curve.
    property real shownGain: root.gain
    property alias isDragging: pointer.pressed
    /// The pointer has rested on the slider for a moment.
    readonly property bool isHovered: hover.hovered && moment.isOver
    /// A press gives the focus without its mark; the first key brings it.
    property bool isFocusMarked: false
    /// 1 is full colour, 0 is grey.
    property real saturation: 1

    readonly property color ink: Theme.mixed(Theme.secondary, Theme.accent, root.saturation)

    signal edited(real gain)

    implicitWidth: shape.width
    activeFocusOnTab: true
    Accessible.role: Accessible.Slider
    Accessible.name: root.label
    // TRANSLATORS: %1 is a whole number, such as 3 or −12. For screen readers.
    Accessible.description: qsTr("%1 decibels").arg(shape.spokenDecibels(root.gain))
    Accessible.focusable: true
    Accessible.onIncreaseAction: root.step(1)
    Accessible.onDecreaseAction: root.step(-1)

    // The value that a screen reader reads and may set.
    property real value: root.gain
    readonly property real minimumValue: shape.lower
    readonly property real maximumValue: shape.upper
    readonly property real stepSize: 1
    onGainChanged: root.value = root.gain
    onValueChanged: {
        if (root.value === root.gain)
            return;
        if (root.enabled)
            root.edited(root.value);
        // The new value may have been refused or corrected.
        root.value = root.gain;
    }

    function step(decibels: real): void {
        if (root.enabled)
            root.edited(shape.steppedGain(root.gain, decibels));
    }

    onActiveFocusChanged: root.isFocusMarked = root.activeFocus && !pointer.pressed
    Keys.onPressed: event => {
        root.isFocusMarked = true;
        event.accepted = true;
        if (event.key === Qt.Key_Up || event.key === Qt.Key_Right)
            root.step(1);
        else if (event.key === Qt.Key_Down || event.key === Qt.Key_Left)
            root.step(-1);
        else if (event.key === Qt.Key_PageUp)
            root.step(3);
        else if (event.key === Qt.Key_PageDown)
            root.step(-3);
        else if (event.key === Qt.Key_Home)
            root.edited(0);
        else
            event.accepted = false;
    }

    VerticalDBSliderShape {
        id: shape

        height: root.height
        gain: root.shownGain
    }
    Item {
        anchors.horizontalCenter: parent.horizontalCenter
        width: shape.width
        height: parent.height

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: shape.trackWidth
            height: parent.height
            radius: width / 2
            color: Theme.quaternary
        }
        Rectangle {
            anchors.centerIn: parent
            width: shape.zeroMarkWidth
            height: 1
            color: Theme.tertiary
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            y: shape.barCentre - height / 2
            width: shape.trackWidth
            height: shape.barHeight
            radius: width / 2
            color: root.ink
        }
        SliderThumb {
            anchors.horizontalCenter: parent.horizontalCenter
            y: shape.thumbCentre - height / 2
            width: shape.thumbDiameter
            height: shape.thumbDiameter
            dotDiameter: shape.thumbDotDiameter
            ink: root.ink
            isDragging: root.isDragging
            isFocused: root.isFocusMarked && root.enabled
        }
    }
    MouseArea {
        id: pointer

        anchors.fill: parent
        preventStealing: true
        onPressed: mouse => {
            root.forceActiveFocus(Qt.MouseFocusReason);
            root.isFocusMarked = false;
            root.edited(shape.draggedGain(mouse.y));
        }
        onPositionChanged: mouse => root.edited(shape.draggedGain(mouse.y))
    }
    HoverHandler {
        id: hover

        onHoveredChanged: moment.isOver = false
    }
    Timer {
        id: moment

        property bool isOver: false

        interval: 400
        running: hover.hovered && root.enabled && !moment.isOver
        onTriggered: moment.isOver = true
    }
}
