// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vello {

/// Throws std::runtime_error: cannot `action` ("read", "write") the file at `path`.
[[noreturn]] inline void failAt(const char* action, const std::filesystem::path& path,
                                const std::string& reason) {
    throw std::runtime_error(std::string("cannot ") + action + " '" + path.string() + "': " + reason);
}

/// Runs `body` and converts its exceptions with failAt().
template <typename Body>
decltype(auto) onFile(const char* action, const std::filesystem::path& path, Body body) {
    try {
        return body();
    } catch (const std::system_error& problem) {
        failAt(action, path, problem.code().message());
    } catch (const std::runtime_error& problem) {
        failAt(action, path, problem.what());
    }
}

} // namespace vello
