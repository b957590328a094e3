// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace vello::session {

/// The programs that show status items, each as a dark bar along the whole top edge of the screen with
/// nothing but its tray on it.
enum class TrayHost {
    none,
    xfcePanel, ///< takes items from the bus
    lxqtPanel, ///< takes items from the bus
    tint2      ///< embeds the windows of icons
};

/// Height of the bar, in pixels.
inline constexpr int barHeight = 28;

/// The host in one word.
std::string name(TrayHost host);
bool takesItemsFromTheBus(TrayHost host);

/// Configures the host in the session's own folders and starts it. It writes to a file in `folder`.
std::unique_ptr<ChildProcess> startTrayHost(TrayHost host, const Environment& environment,
                                            const std::filesystem::path& folder);

} // namespace vello::session
