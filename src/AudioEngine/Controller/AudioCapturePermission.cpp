// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/AudioCapturePermission.h"

namespace vello {

namespace {

AudioCapturePermission::Status statusOf(Consent consent) {
    switch (consent) {
    case Consent::allowed:
        return AudioCapturePermission::Status::authorized;
    case Consent::denied:
        return AudioCapturePermission::Status::denied;
    case Consent::undecided:
        break;
    }
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
