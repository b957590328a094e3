// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/TrayMenu.h"

#include "UI/Panel/PanelModel.h"

#include <QCoreApplication>
#include <QTextBoundaryFinder>

#include <utility>

namespace vello {
namespace {

QString text(const char* english) {
    return QCoreApplication::translate("TrayMenu", english);
}

/// Hosts make the menu as wide as its longest entry.
constexpr qsizetype kLongestLabel = 40;

QString cut(const QString& name) {
    QTextBoundaryFinder ends(QTextBoundaryFinder::Grapheme, name);
    ends.setPosition(kLongestLabel);
    if (name.size() <= kLongestLabel)
        return name;
    const qsizetype end = ends.isAtBoundary() ? kLongestLabel : ends.toPreviousBoundary();
    return name.left(end).trimmed() + u'…';
}

void addPresets(std::vector<TrayMenuEntry>& menu, PanelModel& panel) {
    MenuModel* const presets = panel.openPresets();
    if (!presets)
        return;
    menu.push_back({});
    menu.push_back({cut(panel.openSourceName())});
    for (std::size_t row = 0; row < presets->entries().size(); ++row) {
        const MenuEntry& preset = presets->entries()[row];
        if (preset.kind != MenuEntry::Kind::choice && preset.kind != MenuEntry::Kind::editable)
            continue;
        // The open card may have changed since the menu was built.
        menu.push_back({cut(preset.title), true, preset.isChecked, [&panel, row] {
                            if (MenuModel* const open = panel.openPresets())
                                open->choose(static_cast<int>(row));
                        }});
    }
}

} // namespace

std::vector<TrayMenuEntry> trayMenu(AudioController& controller, PanelModel& panel,
                                    std::function<void()> open) {
    const bool isEnabled = controller.isProcessingEnabled().value();
    std::vector<TrayMenuEntry> menu{
        {text("Open VELLO"), false, false, std::move(open)},
        {text("Equalizing enabled"), true, isEnabled,
         [&controller, isEnabled] { controller.setProcessingEnabled(!isEnabled); }},
    };
    addPresets(menu, panel);
    menu.push_back({});
    menu.push_back({text("About VELLO"), false, false, [&panel] { panel.openAbout(); }});
    menu.push_back({text("Quit"), false, false, [&panel] { panel.quit(); }});
    return menu;
}

} // namespace vello
