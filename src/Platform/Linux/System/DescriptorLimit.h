// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Lets this process, and those that it starts later, open as many files as the system grants it. A login
/// grants 1024 at first, a number from the time of select(); each tap takes about twenty, for the memory and
/// the wake-ups that it shares with the audio server. Never fails: what cannot be raised stays.
void raiseDescriptorLimit();

} // namespace vello
