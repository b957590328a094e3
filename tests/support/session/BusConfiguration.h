// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace vello::session {

/// Configuration of a session bus that starts only the services of this folder on demand. Without a folder it
/// has no services.
std::string busConfiguration(const std::filesystem::path& services = {});

} // namespace vello::session
