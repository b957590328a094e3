// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace vello {

class AudioController;
class PanelModel;

/// One line of the status item's menu.
struct TrayMenuEntry {
    QString label = {}; ///< empty: a divider
    bool isCheckable = false;
    bool isChecked = false;
    std::function<void()> choose = {};

    bool isDivider() const { return label.isEmpty(); }
};

/// The menu as of now: open, the master switch, the presets of the open card's source, About, Quit. What the
/// entries do uses `controller` and `panel`, and `open` to show the panel.
std::vector<TrayMenuEntry> trayMenu(AudioController& controller, PanelModel& panel,
                                    std::function<void()> open);

} // namespace vello
