// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/TapConnection.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/Product.h"

#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kPatience = 5s;

} // namespace

TapConnection::TapConnection(const TapServices& services, AudioObjectID device, std::string label,
                             Action onChange)
    : services_(services), device_(device), label_(std::move(label)),
      logger_(services.log, kBundleIdentifier, "ProcessTap"),
      observer_(services.hardware, services.log, device, kAudioDevicePropertyDeviceIsRunning,
                kAudioObjectPropertyScopeGlobal, [this, action = std::move(onChange)] {
                    check();
                    action();
                }) {
    check();
}

TapConnection::~TapConnection() {
    observer_.invalidate();
}

bool TapConnection::isConnected() const {
    const auto running = attempt([this] {
        return readProperty<std::uint32_t>(services_.hardware, device_, kAudioDevicePropertyDeviceIsRunning);
    });
    return running != 0U;
}

void TapConnection::check() {
    if (isConnected())
        complaintTask_.reset();
    else if (!complaintTask_ && !hasComplained_)
        complaintTask_ = services_.mainThread.after(kPatience, [this] { complain(); });
}

void TapConnection::complain() {
    complaintTask_.reset();
    if (isConnected())
        return;
    hasComplained_ = true;
    logger_.error("Tap for " + label_ + " is not connected: the audio system refuses the connection");
}

} // namespace vello
