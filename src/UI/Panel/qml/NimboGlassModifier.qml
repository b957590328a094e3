// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The glass of a card, or a plain material where transparency is reduced. Increased contrast gives it a strong rim.
GlassSurface {
    /// Interactive glass is a little brighter under the pointer.
    property bool interactive: true
    property bool isHovered: false

    color: interactive && isHovered ? Theme.glassHovered : Theme.glass
    rimWidth: 1
    rimColor: Theme.glassRim
}
