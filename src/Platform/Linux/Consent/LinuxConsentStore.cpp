// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/LinuxConsentStore.h"

#include "Foundation/Product.h"
#include "Platform/Linux/Consent/ConsentFile.h"
#include "Platform/Linux/Consent/PermissionStore.h"

namespace vello {

ConsentPlaces ConsentPlaces::fromEnvironment(const Environment& environment) {
    return {userDataFolder(environment) / kApplicationFolder / "capture-consent",
            sessionBusAddress(environment)};
}

Consent LinuxConsentStore::read() {
    if (const auto store = PermissionStore::connect(places_.busAddress))
        if (const auto answer = store->lookUp())
            return *answer;
    return ConsentFile(places_.file).read();
}

void LinuxConsentStore::write(Consent answer) {
    const auto store = PermissionStore::connect(places_.busAddress);
    if (!store || !store->store(answer))
        ConsentFile(places_.file).write(answer);
}

} // namespace vello
