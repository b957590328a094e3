// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/LinuxConsentStore.h"

#include "Foundation/Product.h"
#include "Platform/Linux/Consent/ConsentFile.h"
#include "Platform/Linux/Consent/PermissionStore.h"

#include "BusConnection.h"

#include <stdexcept>

namespace vello {
namespace {

/// Then it is not known whether there is a permission store, and the file must not count.
void failIfSilent(const BusConnection& connection) {
    if (connection.isBusSilent())
        throw std::runtime_error("the session bus does not answer; try again, or log out and in");
}

} // namespace

ConsentPlaces ConsentPlaces::fromEnvironment(const Environment& environment) {
    return {userDataFolder(environment) / kApplicationFolder / "capture-consent",
            sessionBusAddress(environment)};
}

Consent LinuxConsentStore::read() {
    const BusConnection connection(places_.busAddress);
    failIfSilent(connection);
    const auto answer =
        connection.isOpen() ? PermissionStore(connection.bus()).lookUp() : PermissionStore::Answer();
    return answer ? *answer : ConsentFile(places_.file).read();
}

void LinuxConsentStore::write(Consent answer) {
    const BusConnection connection(places_.busAddress);
    failIfSilent(connection);
    if (!connection.isOpen() || !PermissionStore(connection.bus()).store(answer))
        ConsentFile(places_.file).write(answer);
}

} // namespace vello
