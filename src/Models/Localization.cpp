// SPDX-License-Identifier: Apache-2.0
#include "Models/Localization.h"

#include <algorithm>
#include <array>

namespace vello {
namespace {

constexpr auto kLinuxWordings = std::to_array<SystemWording>({
    {"macOS requires system audio access to equalize apps. Audio stays on your Mac and is never recorded.",
     "VELLO has to capture what apps play to equalize it. Audio stays on your computer and is never "
     "recorded."},
    {"Audio stays on your Mac", "Audio stays on your computer"},
    // No desktop has a page for this: the button puts the question again.
    {"Open System Settings…", "Ask Again…"},
    {"Enable VELLO under Screen & System Audio Recording, then come back.",
     "Or run “vello permission allow” in a terminal, then come back."},
});

} // namespace

std::span<const SystemWording> systemWordings() {
    return kLinuxWordings;
}

std::string localized(std::string_view english) {
    const auto* const found = std::ranges::find(kLinuxWordings, english, &SystemWording::english);
    return std::string(found == kLinuxWordings.end() ? english : found->wording);
}

} // namespace vello
