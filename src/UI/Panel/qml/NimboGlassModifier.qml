// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The glass of a card, or a plain material where transparency is reduced, with a rim that increased contrast makes strong.
GlassSurface {
    /// Interactive glass is a little brighter under the pointer.
    property bool interactive: true
    property bool isHovered: false

    color: interactive && isHovered ? Theme.glassHovered : Theme.glass
    rimWidth: 1
    rimColor: Theme.glassRim
}
