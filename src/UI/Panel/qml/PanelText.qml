// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A text that a screen reader reads as well.
Text {
    textFormat: Text.PlainText
    color: Theme.primary
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
