// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace vello::session {

/// Configuration of a session bus that starts the services of this folder on demand, and no others. Without a
/// folder there are none.
std::string busConfiguration(const std::filesystem::path& services = {});

} // namespace vello::session
