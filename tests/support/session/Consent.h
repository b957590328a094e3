// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

namespace vello::session {

/// The user of the session allows VELLO to capture what applications play. Where the answer is kept, the
/// product decides.
void allowCapture(const PrivateAudioSession& session);

} // namespace vello::session
