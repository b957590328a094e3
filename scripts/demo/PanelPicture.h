// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

#include <filesystem>

namespace vello::demo {

/// Plays a tune in each of the demonstration's two applications, makes VELLO open its panel on a private
/// screen, opens the card of one application and saves the picture to `file`. Throws std::runtime_error on
/// timeout.
void takePanelPicture(const session::PrivateAudioSession& session, const std::filesystem::path& file);

} // namespace vello::demo
