// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CoreAudioError.h"

#include <utility>

namespace vello {

CoreAudioError::CoreAudioError(Case value, std::string description)
    : value_(std::move(value)), description_(std::move(description)) {}

CoreAudioError CoreAudioError::status(OSStatus status, std::string operation) {
    std::string description = operation + " failed (OSStatus " + std::to_string(status) + ")";
    return {Status{status, std::move(operation)}, std::move(description)};
}

CoreAudioError CoreAudioError::invalidObject(std::string text) {
    std::string description = text;
    return {InvalidObject{std::move(text)}, std::move(description)};
}

} // namespace vello
