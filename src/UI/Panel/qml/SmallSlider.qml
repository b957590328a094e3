// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A horizontal slider. Its owner binds `level` and handles `moveRequested`.
T.Slider {
    id: root

    required property real level
    readonly property real shownLevel: shape.shownLevel(root.level)

    signal moveRequested(real level)

    stepSize: shape.step
    implicitWidth: 100
    implicitHeight: 18
    hoverEnabled: true
    containmentMask: HitArea {
        control: root
    }
    value: root.shownLevel
    onShownLevelChanged: root.value = root.shownLevel
    onMoved: root.moveRequested(root.value)
    onValueChanged: {
        // A screen reader sets the value without a drag. Showing a level outside the range must not change the level.
        if (!root.pressed && root.value !== root.shownLevel)
            root.moveRequested(root.value);
    }
    // The template knows the arrow keys along the slider only.
    Keys.onUpPressed: root.move(shape.step)
    Keys.onDownPressed: root.move(-shape.step)
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_PageUp)
            root.move(shape.page);
        else if (event.key === Qt.Key_PageDown)
            root.move(-shape.page);
        else if (event.key === Qt.Key_Home)
            root.moveRequested(0);
        else if (event.key === Qt.Key_End)
            root.moveRequested(1);
        else
            event.accepted = false;
    }

    function move(change: real): void {
        root.moveRequested(shape.movedLevel(root.level, change));
    }

    SmallSliderShape {
        id: shape

        width: root.width
        position: root.position
        isMirrored: root.mirrored
    }

    background: Item {
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            height: shape.trackHeight
            radius: height / 2
            color: Theme.quaternary
        }
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            x: shape.barLeft
            width: shape.barWidth
            height: shape.trackHeight
            radius: height / 2
            color: Theme.accent
        }
        FocusRing {
            isShown: root.visualFocus
            radius: 9
        }
    }
    handle: GlassSurface {
        x: shape.thumbLeft
        y: (root.height - height) / 2
        width: shape.thumbDiameter
        height: width
        radius: width / 2
        color: Theme.smallThumb
        rimColor: Theme.smallThumbRim
        shadowColor: Theme.thumbShadow
        shadowRadius: root.pressed ? 2 : 1
        shadowOffset: 0.5
    }
}
