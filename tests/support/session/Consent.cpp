// SPDX-License-Identifier: Apache-2.0
#include "Consent.h"

#include "Platform/Linux/Consent/LinuxConsentStore.h"

namespace vello::session {

void allowCapture(const PrivateAudioSession& session) {
    const auto variable = [&](const char* name) -> const char* {
        const auto found = session.environment().find(name);
        return found == session.environment().end() ? nullptr : found->second.c_str();
    };
    LinuxConsentStore(ConsentPlaces::fromEnvironment(variable)).write(Consent::allowed);
}

} // namespace vello::session
