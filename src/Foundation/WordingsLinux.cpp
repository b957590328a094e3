// SPDX-License-Identifier: Apache-2.0
#include "Wordings.h"

#include <array>

namespace vello {
namespace {

constexpr auto kWordings = std::to_array<Wording>({
    {"macOS requires system audio access to equalize apps. Audio stays on your Mac and is never recorded.",
     "VELLO has to capture what apps play to equalize it. Audio stays on your computer and is never "
     "recorded."},
    {"Per-app sound control,\nright from your menu bar.",
     "Per-app sound control,\nright from your system tray."},
    {"Audio stays on your Mac", "Audio stays on your computer"},
    // Linux desktops have no settings page for this, so the button asks again.
    {"Open System Settings…", "Ask Again…"},
    {"Enable VELLO under Screen & System Audio Recording, then come back.",
     "Or run “vello permission allow” in a terminal, then come back."},
});

} // namespace

std::span<const Wording> linuxWordings() {
    return kWordings;
}

} // namespace vello
