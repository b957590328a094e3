// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Hashing.h"

#include <string>

namespace vello {

/// One output device that the user can choose.
struct AudioOutputRoute {
    std::string id; ///< the device's UID
    std::string name;
    bool isDefault = false; ///< stands for the system's default output

    friend bool operator==(const AudioOutputRoute&, const AudioOutputRoute&) = default;
};

} // namespace vello

template <> struct std::hash<vello::AudioOutputRoute> {
    std::size_t operator()(const vello::AudioOutputRoute& route) const noexcept {
        using vello::hashOf;
        return vello::combinedHash({hashOf(route.id), hashOf(route.name), hashOf(route.isDefault)});
    }
};
