// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

#include <filesystem>

namespace vello::demo {

/// Plays a tune in each of the demonstration's two applications, has VELLO open its panel on a screen of its
/// own, opens the card of one and leaves the picture in `file`. Throws std::runtime_error when something does
/// not come.
void takePanelPicture(const session::PrivateAudioSession& session, const std::filesystem::path& file);

} // namespace vello::demo
