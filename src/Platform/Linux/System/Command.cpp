// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/Command.h"

#include <algorithm>
#include <array>
#include <system_error>

namespace vello {
namespace {

namespace fs = std::filesystem;

/// Without the version at their end.
constexpr std::array<std::string_view, 24> kInterpreters{
    "ash",   "bash", "busybox", "dash", "electron", "fish",  "gjs",    "gjs-console",
    "guile", "java", "ksh",     "lua",  "mono",     "node",  "nodejs", "perl",
    "php",   "pypy", "python",  "ruby", "sh",       "tclsh", "wish",   "zsh"};

constexpr std::array<std::string_view, 12> kStarters{
    "cmd",  "dbus-launch", "dbus-run-session", "flatpak", "gapplication", "gio", "gtk-launch", "pkexec",
    "snap", "sudo",        "systemd-run",      "xdg-open"};

std::string_view fileName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

bool isAssignment(std::string_view argument) {
    const auto equals = argument.find('=');
    return equals != std::string_view::npos && equals > 0 && argument.find('/') > equals;
}

using Arguments = std::vector<std::string>::const_iterator;

/// The command behind `env`, its options and its assignments.
Arguments skipEnv(Arguments argument, Arguments end) {
    ++argument;
    while (argument != end && (argument->starts_with('-') || isAssignment(*argument))) {
        const bool takesValue = *argument == "-u" || *argument == "-C";
        argument += takesValue && end - argument > 1 ? 2 : 1;
    }
    return argument;
}

/// The script that an interpreter with these arguments runs; `end` when it runs none, or one that is no file.
Arguments findScript(Arguments argument, Arguments end) {
    for (; argument != end; ++argument) {
        if (*argument == "-c" || *argument == "-e" || *argument == "-m" || *argument == "-cp")
            return end;
        if (!argument->starts_with('-'))
            return argument;
    }
    return end;
}

} // namespace

bool isInterpreter(std::string_view name) {
    name = name.substr(0, name.find_last_not_of("0123456789.-") + 1);
    return std::ranges::find(kInterpreters, name) != kInterpreters.end();
}

std::optional<EffectiveCommand> effectiveCommand(const std::vector<std::string>& line) {
    auto program = line.begin();
    if (program != line.end() && fileName(*program) == "env")
        program = skipEnv(program, line.end());
    if (program != line.end() && isInterpreter(fileName(*program)))
        program = findScript(program + 1, line.end());
    if (program == line.end() || program->empty() ||
        std::ranges::find(kStarters, fileName(*program)) != kStarters.end())
        return std::nullopt;
    return EffectiveCommand{*program, {program + 1, line.end()}};
}

fs::path findProgram(const std::string& program, const std::vector<fs::path>& folders) {
    std::error_code error;
    if (fs::path(program).is_absolute())
        return fs::is_regular_file(program, error) ? fs::path(program) : fs::path();
    if (program.find('/') != std::string::npos)
        return {};
    for (const fs::path& folder : folders)
        if (fs::is_regular_file(folder / program, error))
            return folder / program;
    return {};
}

} // namespace vello
