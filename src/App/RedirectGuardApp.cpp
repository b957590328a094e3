// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/RedirectGuardProcess.h"

#include <cstdlib>
#include <exception>

#include <unistd.h>

/// The guard of a running VELLO. VELLO starts it with the shared memory on the first descriptor after the
/// standard streams. It is small on purpose, because it stays for as long as VELLO runs.
int main() {
    try {
        return vello::runRedirectGuard(STDERR_FILENO + 1, {});
    } catch (const std::exception&) {
        return EXIT_FAILURE; // There is no channel to report an error.
    }
}
