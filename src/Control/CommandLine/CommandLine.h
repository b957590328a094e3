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
inline constexpr int kExitFailed = 1; ///< one line on standard error says why and what to do
inline constexpr int kExitWrongUsage = 2;

enum class Command {
    panel,    ///< no command: the tray application
    headless, ///< the engine without a screen
    render,
    analyze,
    permission,
    client, ///< a request to the running instance
    none,   ///< help or version was printed, or the usage was wrong: leave with `exitCode`
};

struct ParsedCommand {
    Command command = Command::none;
    RenderOptions render = {};                            ///< of Command::render
    AnalyzeOptions analyze = {};                          ///< of Command::analyze
    PermissionAction permission = PermissionAction::show; ///< of Command::permission
    ClientRequest client = {};                            ///< of Command::client
    std::string syncFolder = {}; ///< of Command::panel and Command::headless; empty: not chosen
    bool isInBackground = false; ///< of Command::panel: it stays closed until the user opens it
    int exitCode = kExitDone;
};

/// Reads the arguments. Help and version go to `out`, one line about a wrong usage to `error`.
ParsedCommand parseCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& error);

} // namespace vello
