// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/Analyze.h"
#include "Control/CommandLine/ClientArguments.h"
#include "Control/CommandLine/Permission.h"
#include "Control/CommandLine/Render.h"

#include <iosfwd>
#include <string>

namespace vello {

/// Exit codes of the program.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1; ///< one line on standard error gives the reason and a remedy
inline constexpr int kExitWrongUsage = 2;
inline constexpr int kExitNotRunning = 3; ///< the command needs a running instance

enum class Command {
    panel,    ///< no command was given: the tray application
    headless, ///< the engine without a user interface
    render,
    analyze,
    permission,
    doctor, ///< the diagnosis
    client, ///< a request to the running instance
    none,   ///< help or version was printed, or the usage was wrong: exit with `exitCode`
};

struct ParsedCommand {
    Command command = Command::none;
    RenderOptions render = {};                            ///< for Command::render
    AnalyzeOptions analyze = {};                          ///< for Command::analyze
    PermissionAction permission = PermissionAction::show; ///< for Command::permission
    ClientRequest client = {};                            ///< for Command::client
    OutputFormat format = OutputFormat::text;             ///< for Command::permission
    bool showsNames = false;                              ///< for Command::doctor: of applications
    std::string syncFolder = {}; ///< for Command::panel and Command::headless; empty: not given
    bool isInBackground = false; ///< for Command::panel: start with the panel closed
    int exitCode = kExitDone;
};

/// Parses the arguments. Prints help and version to `out`, and one line about wrong usage to `error`.
ParsedCommand parseCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& error);

} // namespace vello
