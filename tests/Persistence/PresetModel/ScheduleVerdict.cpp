// SPDX-License-Identifier: Apache-2.0
#include "Schedule.h"

#include <algorithm>
#include <bitset>
#include <set>
#include <sstream>

namespace vello::presetmodel {
namespace {

std::string describe(const Machine& machine) {
    std::ostringstream text;
    for (const UserEQPreset& preset : machine.presets())
        text << preset.name << "=" << preset.bandGains.front() << " ";
    text << "\n";
    return text.str();
}

} // namespace

std::string Schedule::verdict() const {
    for (const auto& machine : machines_)
        if (machine->presets() != machines_.front()->presets())
            return "the lists differ:\n" + describe(*machines_.front()) + describe(*machine);
    std::set<std::string> names;
    for (const Edit& edit : edits_)
        names.insert(edit.name);
    for (const std::string& name : names)
        if (!options_.hasOtherProgram && !isRight(name))
            return "an edit of " + name + " is lost:\n" + describe(*machines_.front());
    return {};
}

std::string Schedule::story() const {
    std::ostringstream text;
    for (const Edit& edit : edits_)
        text << edit.name << "=" << edit.gain.value_or(0) << " after " << std::bitset<kMostEdits>(edit.known)
             << (edit.isAcknowledged ? "" : " (killed)") << "\n";
    for (const auto& machine : machines_)
        text << machine->ownJournal() << "\n";
    return world_.story.str() + text.str();
}

/// Whether the preset is what an edit made of it that no later acknowledged edit has replaced.
bool Schedule::isRight(const std::string& name) const {
    const auto shown = machines_.front()->gainOf(name);
    bool isEdited = false;
    for (std::size_t i = 0; i < edits_.size(); ++i) {
        const auto isLater = [&](const Edit& edit) {
            return edit.isAcknowledged && edit.name == name && (edit.known >> i & 1U) != 0;
        };
        if (edits_[i].name != name)
            continue;
        isEdited = isEdited || edits_[i].isAcknowledged;
        if (edits_[i].gain == shown && std::ranges::none_of(edits_, isLater))
            return true;
    }
    return !isEdited && !shown;
}

} // namespace vello::presetmodel
