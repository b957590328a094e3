// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

namespace vello::session {

/// Allows VELLO to capture what applications play, on behalf of the session's user. The product decides where
/// the answer is stored.
void allowCapture(const PrivateAudioSession& session);

} // namespace vello::session
