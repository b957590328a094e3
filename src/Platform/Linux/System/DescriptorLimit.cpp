// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/DescriptorLimit.h"

#include <sys/resource.h>

namespace vello {

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace vello
