// SPDX-License-Identifier: Apache-2.0
import Vello

/// The glass of a card, or a plain material where transparency is reduced. Increased contrast gives it a strong rim.
GlassSurface {
    /// It is a little brighter under the pointer.
    property bool isHovered: false

    color: isHovered ? Theme.glassHovered : Theme.glass
    rimColor: Theme.glassRim
}
