// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace vello {

class AudioController;
class PanelModel;

/// One entry of the status item's menu.
struct TrayMenuEntry {
    QString label = {}; ///< empty: a divider
    bool isCheckable = false;
    bool isChecked = false;
    std::function<void()> choose = {}; ///< empty: a heading, which cannot be chosen

    bool isHeading() const { return !isDivider() && !choose; }
    bool isDivider() const { return label.isEmpty(); }
};

/// The current menu: open, the master switch, the presets of the open card's source below its name, About,
/// Quit. Long names are cut. The
/// entries' actions use `controller` and `panel`, and call `open` to show the panel.
std::vector<TrayMenuEntry> trayMenu(AudioController& controller, PanelModel& panel,
                                    std::function<void()> open);

} // namespace vello
