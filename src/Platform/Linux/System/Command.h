// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// What a command line runs in the end.
struct EffectiveCommand {
    std::string program; ///< a script when an interpreter runs one; a path or a bare name
    std::vector<std::string> arguments;
};

/// Sees through `env` and through interpreters that run a script. Absent for an empty line, for interpreters
/// and shells without a script, and for programs that only start others: these stand for no application.
std::optional<EffectiveCommand> effectiveCommand(const std::vector<std::string>& line);

/// A shell or the interpreter of a language, by the name of its file: "python3.11", "bash", "electron25".
bool isInterpreter(std::string_view name);

/// The existing file that an absolute path or a bare name names; empty when there is none. Bare names are
/// looked for in `folders`, symbolic links stay.
std::filesystem::path findProgram(const std::string& program,
                                  const std::vector<std::filesystem::path>& folders);

} // namespace vello
