// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string_view>

namespace vello {

/// Tells vello-panel to start with the panel closed.
inline constexpr const char* kInBackground = "--background";

/// The program `name` that `vello` starts: beside this one, or where an installation keeps programs that no
/// user starts. May not exist. Throws std::filesystem::filesystem_error where /proc is missing.
std::filesystem::path companionProgram(std::string_view name);

/// The program `vello`, as seen from a companion.
std::filesystem::path mainProgram();

} // namespace vello
