// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string_view>

namespace vello {

/// Makes `vello` and vello-panel start with the panel closed.
inline constexpr const char* kInBackground = "--background";

/// Path of the program `name` that `vello` starts: next to this one, or where an installation keeps its
/// internal programs. The file may not exist. Throws std::filesystem::filesystem_error when /proc is not
/// available.
std::filesystem::path companionProgram(std::string_view name);

/// Path of the program `vello`, for use in a companion program.
std::filesystem::path mainProgram();

/// Whether `vello` is where the build was configured to install it. Only there do the units of the service
/// manager start this VELLO and not another one.
bool isInstalled();

} // namespace vello
