// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

Window {
    id: root

    title: qsTr("About VELLO")
    flags: Qt.Dialog | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    width: content.implicitWidth
    height: content.implicitHeight
    minimumWidth: content.implicitWidth
    maximumWidth: content.implicitWidth
    minimumHeight: content.implicitHeight
    maximumHeight: content.implicitHeight
    LayoutMirroring.enabled: Theme.isRightToLeft
    LayoutMirroring.childrenInherit: true
    color: content.color

    AboutVelloView {
        id: content

        anchors.fill: parent
        focus: true
        onDismiss: root.close()
        Keys.onEscapePressed: root.close()
    }
}
