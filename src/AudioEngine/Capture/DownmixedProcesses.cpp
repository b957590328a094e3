// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/DownmixedProcesses.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/Product.h"

#include <algorithm>

namespace vello {

DownmixedProcesses::DownmixedProcesses(AudioHardware& hardware, SystemLog& log)
    : hardware_(hardware), logger_(log, kBundleIdentifier, "DownmixedProcesses") {}

void DownmixedProcesses::update(AudioObjectID process, std::string_view sourceID) {
    const bool isWanted = sources_.contains(sourceID);
    if (isWanted == downmixed_.contains(process))
        return;
    if (isWanted)
        downmixed_.insert(process);
    else
        downmixed_.erase(process);
    const OSStatus status = writeNumber(hardware_, process, kAudioProcessPropertyDownmix, isWanted ? 1 : 0);
    if (status != kAudioHardwareNoError)
        logger_.error("Failed to switch the downmix of a process: " + std::to_string(status));
}

void DownmixedProcesses::keepOnly(const std::vector<AudioObjectID>& processes) {
    std::erase_if(downmixed_,
                  [&](AudioObjectID each) { return std::ranges::find(processes, each) == processes.end(); });
}

} // namespace vello
