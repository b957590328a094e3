// SPDX-License-Identifier: Apache-2.0
import QtQuick

/// Lets Return, Enter and screen readers press the parent item while it is enabled.
Item {
    id: root

    /// Space presses the item too. Buttons of Qt handle Space themselves.
    property bool takesSpace: false

    signal activated

    Connections {
        target: root.parent ? root.parent.Keys : null

        function onReturnPressed(): void {
            root.activated();
        }
        function onEnterPressed(): void {
            root.activated();
        }
        function onSpacePressed(event: KeyEvent): void {
            event.accepted = root.takesSpace;
            if (root.takesSpace)
                root.activated();
        }
    }
    Connections {
        target: root.parent ? root.parent.Accessible : null
        enabled: root.enabled

        function onPressAction(): void {
            root.activated();
        }
    }
}
