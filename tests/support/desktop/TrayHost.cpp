// SPDX-License-Identifier: Apache-2.0
#include "TrayHost.h"

#include <fstream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace vello::session {
namespace {

constexpr std::string_view kXfcePanelChannel = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="28"/>
      <property name="icon-size" type="uint" value="22"/>
      <property name="background-style" type="uint" value="1"/>
      <property name="background-rgba" type="array">
        <value type="double" value="0.125"/>
        <value type="double" value="0.125"/>
        <value type="double" value="0.125"/>
        <value type="double" value="1"/>
      </property>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray"/>
  </property>
</channel>
)";

constexpr std::string_view kLxqtPanelConfiguration = R"([General]
__userfile__=true
iconTheme=
panels=panel1

[panel1]
alignment=-1
background-color=#202020
desktop=0
hidable=false
iconSize=22
lineCount=1
lockPanel=true
opacity=100
panelSize=28
plugins=spacer,statusnotifier
position=Top
width=100
width-percent=true

[spacer]
alignment=Left
expandable=true
type=spacer

[statusnotifier]
alignment=Right
type=statusnotifier
)";

constexpr std::string_view kTint2Configuration = R"(rounded = 0
border_width = 0
background_color = #202020 100
border_color = #202020 100
panel_items = FS
panel_position = top center horizontal
panel_size = 100% 28
panel_background_id = 1
panel_layer = top
strut_policy = follow_size
systray_background_id = 1
systray_icon_size = 22
systray_padding = 4 2 4
)";

void writeFile(const std::filesystem::path& file, std::string_view text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::trunc);
    stream << text;
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

/// Writes the host's configuration and returns its command line.
std::vector<std::string> prepare(TrayHost host, const std::filesystem::path& configuration) {
    switch (host) {
    case TrayHost::xfcePanel:
        writeFile(configuration / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml", kXfcePanelChannel);
        return {"xfce4-panel", "--disable-wm-check", "--sm-client-disable"};
    case TrayHost::lxqtPanel:
        writeFile(configuration / "lxqt/panel.conf", kLxqtPanelConfiguration);
        return {"lxqt-panel"};
    case TrayHost::tint2: {
        const auto file = configuration / "tint2/vello-test";
        writeFile(file, kTint2Configuration);
        return {"tint2", "-c", file};
    }
    case TrayHost::none:
        break;
    }
    throw std::invalid_argument("there is no such tray host");
}

} // namespace

std::string name(TrayHost host) {
    static constexpr const char* names[] = {"none", "xfcePanel", "lxqtPanel", "tint2"};
    return names[static_cast<std::size_t>(host)];
}

bool takesItemsFromTheBus(TrayHost host) {
    return host == TrayHost::xfcePanel || host == TrayHost::lxqtPanel;
}

std::unique_ptr<ChildProcess> startTrayHost(TrayHost host, const Environment& environment,
                                            const std::filesystem::path& folder) {
    const auto arguments = prepare(host, environment.at("XDG_CONFIG_HOME"));
    return std::make_unique<ChildProcess>(arguments, environment, folder / (name(host) + ".log"));
}

} // namespace vello::session
