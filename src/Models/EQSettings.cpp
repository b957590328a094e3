// SPDX-License-Identifier: Apache-2.0
#include "Models/EQSettings.h"

#include "Foundation/Precondition.h"

#include <algorithm>

namespace vello {

bool EQSettings::isFlat() const {
    return std::ranges::all_of(bandGains, [](double gain) { return gain == 0.0; });
}

bool EQSettings::isNeutral() const {
    return isFlat() && volume == 1.0 && !outputDeviceUID && !isBypassed;
}

bool EQSettings::followsSystem(std::string_view sourceID) const {
    return isNeutral() && sourceID != kSystemSourceID;
}

void EQSettings::reset() {
    bandGains.assign(bandCount, 0.0);
}

std::string EQSettings::bandLabel(std::size_t index) {
    precondition(index < bandCount, "the band index of a label is below the number of bands");
    const int frequency = static_cast<int>(bandFrequencies[index]);
    return frequency < 1000 ? std::to_string(frequency) : std::to_string(frequency / 1000) + "K";
}

EQSettings EQSettings::effective(const EQSettings& own, const EQSettings& system, bool isSystem) {
    if (isSystem || !own.isNeutral())
        return own;
    EQSettings settings = system;
    settings.downmixesSurround = own.downmixesSurround;
    return settings;
}

} // namespace vello
