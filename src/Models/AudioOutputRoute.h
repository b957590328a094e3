// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// One output device that the user can choose.
struct AudioOutputRoute {
    std::string id; ///< the device's UID
    std::string name;
    bool isDefault = false; ///< it is the system's default output

    friend bool operator==(const AudioOutputRoute&, const AudioOutputRoute&) = default;
};

} // namespace vello
