// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/AudioCapturePermission.h"

#include <optional>

namespace vello {

namespace {

constexpr int kPreflightAllowed = 0;
constexpr int kPreflightDenied = 1;

AudioCapturePermission::Status statusOf(std::optional<int> preflight) {
    if (preflight == kPreflightAllowed)
        return AudioCapturePermission::Status::authorized;
    if (preflight == kPreflightDenied)
        return AudioCapturePermission::Status::denied;
    return AudioCapturePermission::Status::unknown;
}

} // namespace

AudioCapturePermission::AudioCapturePermission(CaptureAuthorization& authorization, ApplicationEvents& events,
                                               MainThread& mainThread)
    : authorization_(authorization), events_(events), mainThread_(mainThread) {
    refresh();
    events_.onDidBecomeActive([this] { refresh(); });
    authorization_.onDidChange([this] { refresh(); });
}

AudioCapturePermission::~AudioCapturePermission() {
    events_.onDidBecomeActive(nullptr);
    authorization_.onDidChange(nullptr);
}

void AudioCapturePermission::refresh() {
    status_->set(statusOf(authorization_.preflight()));
}

void AudioCapturePermission::request() {
    authorization_.request([&mainThread = mainThread_, waiting = std::weak_ptr(status_)](bool isGranted) {
        mainThread.post([waiting, isGranted] {
            if (const auto status = waiting.lock())
                status->set(isGranted ? Status::authorized : Status::denied);
        });
    });
}

void AudioCapturePermission::openSystemSettings() {
    authorization_.openSettings();
}

} // namespace vello
