// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"

#include "Foundation/Product.h"

#include <string>
#include <utility>

namespace vello {

namespace {

std::string failureText(const char* verb, AudioObjectID object, OSStatus status) {
    return std::string("Failed to ") + verb + " property listener on #" + std::to_string(object) + ": " +
           std::to_string(status);
}

} // namespace

CoreAudioPropertyObserver::CoreAudioPropertyObserver(AudioHardware& hardware, SystemLog& log,
                                                     AudioObjectID objectID, FourCharCode selector,
                                                     FourCharCode scope, Action onChange)
    : hardware_(hardware), logger_(log, kBundleIdentifier, "CoreAudioPropertyObserver"), objectID_(objectID),
      address_({selector, scope, kAudioObjectPropertyElementMain}),
      listenerBlock_(std::make_shared<const Action>(std::move(onChange))) {
    const auto listener = [block = std::weak_ptr(listenerBlock_)] {
        if (const auto action = block.lock())
            (*action)();
    };
    const OSStatus status = hardware_.addPropertyListener(objectID_, address_, listener, listenerID_);
    if (status == kAudioHardwareNoError)
        return;
    logger_.error(failureText("add", objectID_, status));
    listenerBlock_.reset();
}

void CoreAudioPropertyObserver::invalidate() {
    if (!listenerBlock_)
        return;
    const OSStatus status = hardware_.removePropertyListener(objectID_, address_, listenerID_);
    if (status != kAudioHardwareNoError)
        logger_.debug(failureText("remove", objectID_, status));
    listenerBlock_.reset();
}

void drop(std::unique_ptr<CoreAudioPropertyObserver>& observer) {
    if (observer)
        observer->invalidate();
    observer.reset();
}

} // namespace vello
