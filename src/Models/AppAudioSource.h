// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vello {

/// One entry in the list of sources.
struct AppAudioSource {
    std::string id; ///< an application group's identifier, or kSystemSourceID
    std::optional<std::int32_t> pid;
    std::string name; ///< for the user
    std::optional<std::string> bundleID;

    friend bool operator==(const AppAudioSource&, const AppAudioSource&) = default;
};

} // namespace vello
