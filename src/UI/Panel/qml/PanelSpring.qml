// SPDX-License-Identifier: Apache-2.0
import Vello

/// A spring that jumps when the user wants less motion.
SpringFollower {
    isAnimated: !Theme.isMotionReduced
}
