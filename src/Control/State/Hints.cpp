// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Hints.h"

namespace vello {
namespace {

bool changesCurve(const SettingsChange& change) {
    return change.resetsCurve || change.bandGains || change.presetID || !change.bands.empty();
}

bool changesOnlyCapture(const SettingsChange& change) {
    return change == SettingsChange{.downmixesSurround = change.downmixesSurround, .isNew = change.isNew};
}

/// Neutral settings of its own hand a source back to the system-wide ones, also where neutral was the wish.
bool isLeftToSystem(const SourceState& own, const EQSettings& inForce) {
    return own.settings.followsSystem(own.source.id) && !inForce.isNeutral();
}

} // namespace

std::vector<std::string> reasonsNotHeard(const RunningState& state, const SourceState& own,
                                         const SettingsChange& change) {
    if (!state.isProcessingEnabled)
        return {"nothing of this is heard, because VELLO is switched off; vello on switches it on"};
    if (state.consent != Consent::allowed)
        return {"nothing of this is heard, because VELLO may not capture what applications play; to allow "
                "it: vello permission allow"};
    std::vector<std::string> reasons;
    const EQSettings inForce = effectiveSettings(state, own);
    if (isLeftToSystem(own, inForce) && !changesOnlyCapture(change))
        reasons.emplace_back(
            "the source has no settings of its own now, so those of System hold; --bypass on "
            "plays it unequalized instead");
    else if (inForce.isBypassed && changesCurve(change) && !change.isBypassed && !change.togglesBypass)
        reasons.emplace_back(
            "the curve is not heard, because the source is bypassed; --bypass off ends that");
    return reasons;
}

} // namespace vello
