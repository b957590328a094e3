// SPDX-License-Identifier: Apache-2.0
#include "App/AppDelegate.h"

namespace vello {

AppDelegate::AppDelegate(const AudioControllerPorts& ports,
                         const std::filesystem::path& applicationSupportFolder)
    : controller_(ports, applicationSupportFolder), meterAudience_(controller_) {}

} // namespace vello
