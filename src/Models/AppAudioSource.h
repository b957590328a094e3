// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Hashing.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vello {

/// One row of the list of sources.
struct AppAudioSource {
    std::string id; ///< an application group's identifier, or kSystemSourceID
    std::optional<std::int32_t> pid;
    std::string name; ///< for the user
    std::optional<std::string> bundleID;

    friend bool operator==(const AppAudioSource&, const AppAudioSource&) = default;
};

} // namespace vello

template <> struct std::hash<vello::AppAudioSource> {
    std::size_t operator()(const vello::AppAudioSource& source) const noexcept {
        using vello::hashOf;
        return vello::combinedHash(
            {hashOf(source.id), hashOf(source.pid), hashOf(source.name), hashOf(source.bundleID)});
    }
};
