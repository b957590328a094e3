// SPDX-License-Identifier: Apache-2.0
import Vello

/// The glass of a slider's thumb, or a plain material where transparency is reduced. Increased contrast adds a ring.
GlassSurface {
    radius: width / 2
    color: Theme.thumb
    rimColor: Theme.thumbRim
    shadowColor: Theme.thumbShadow
}
