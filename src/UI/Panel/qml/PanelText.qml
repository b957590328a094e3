// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A text that screen readers also read.
Text {
    textFormat: Text.PlainText
    color: Theme.primary
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
