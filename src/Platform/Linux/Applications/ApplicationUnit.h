// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// Whether a name may identify an application: up to 255 letters, digits, dots, hyphens and underscores.
bool isApplicationIdentifier(std::string_view text);

/// The application identifiers that the innermost application unit in a control group's path may stand for,
/// the likeliest first. Supports systemd's names for applications (app-[LAUNCHER-]ID-RANDOM.scope,
/// app-[LAUNCHER-]ID[@RANDOM].service, app-[LAUNCHER-]ID[-RANDOM].slice, with their escapes), those of
/// applications started through D-Bus, and those of Snap, whose identifiers are NAME_APP. See systemd's
/// "Desktop Environment Integration".
std::vector<std::string> applicationsOfControlGroup(std::string_view controlGroup);

} // namespace vello
