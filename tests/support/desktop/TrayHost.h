// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace vello::session {

/// Programs that show status items. Each appears as a dark bar along the whole top edge of the screen that
/// contains only its tray.
enum class TrayHost {
    none,
    xfcePanel, ///< accepts items from the bus
    lxqtPanel, ///< accepts items from the bus
    tint2      ///< embeds the windows of icons
};

/// Height of the bar in pixels.
inline constexpr int kBarHeight = 28;

/// The name of the host in one word.
std::string name(TrayHost host);
bool takesItemsFromTheBus(TrayHost host);

/// Configures the host in the session's own folders and starts it. Its output is written to a file in
/// `folder`.
std::unique_ptr<ChildProcess> startTrayHost(TrayHost host, const Environment& environment,
                                            const std::filesystem::path& folder);

} // namespace vello::session
