// SPDX-License-Identifier: Apache-2.0
#include "PipeWireQuirks.h"

#include <cstdio>

#include <pipewire/pipewire.h>

namespace vello::quirks {

const char* clientConfigurationName() {
    int major = 0;
    int minor = 0;
    std::sscanf(pw_get_library_version(), "%d.%d", &major, &minor);
    return major == 0 && minor <= 3 ? "client-rt.conf" : "client.conf";
}

} // namespace vello::quirks
