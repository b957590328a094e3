// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/CommandLine.h"

#include "Control/CommandLine/Version.h"
#include "Control/State/Numbers.h"
#include "Foundation/Product.h"
#include "Models/EQPreset.h"
#include "Terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <ostream>
#include <string>
#include <string_view>

namespace vello {

namespace {

constexpr double kLargestRenderGain = 24.0;   // dB, in either direction
constexpr double kLargestRenderVolume = 16.0; // linear

/// Parses "g0,...,g7" within the limits of `render`.
std::optional<std::vector<double>> renderGains(std::string_view text) {
    const auto values = parseGains(text);
    const auto isFit = [](double gain) { return std::abs(gain) <= kLargestRenderGain; };
    return values && std::ranges::all_of(*values, isFit) ? values : std::nullopt;
}

std::string presetIDs() {
    std::string list;
    for (const EQPreset preset : EQPreset::allCases())
        list.append(list.empty() ? "" : ", ").append(preset.id());
    return list;
}

// Validators. They return an empty string for a valid value and otherwise an error message.

std::string checkPreset(const std::string& text) {
    return EQPreset::fromRawValue(text) ? "" : "there is no such preset; there are " + presetIDs();
}

std::string checkGains(const std::string& text) {
    return renderGains(text) ? "" : "expected eight numbers between -24 and 24, separated by commas";
}

std::string checkVolume(const std::string& text) {
    const auto value = parseNumber(text);
    return value && *value >= 0 && *value <= kLargestRenderVolume ? "" : "expected a number between 0 and 16";
}

std::string checkFolder(const std::string& text) {
    return text.empty() ? "expected the name of a folder" : "";
}

/// The options of `render` as written by the user.
struct RenderArguments {
    std::string preset, gains, volume, initialVolume, input, output;
    bool isBypassed = false;
    std::size_t bufferFrames = RenderOptions().bufferFrames;
};

CLI::App* addRender(CLI::App& application, RenderArguments& arguments) {
    CLI::App* render =
        application.add_subcommand("render", "Run a sound file through the equalizer, offline");
    auto* preset =
        render->add_option("--preset", arguments.preset, "Built-in curve: " + presetIDs())->type_name("ID");
    preset->check(CLI::Validator(checkPreset, "", "preset"));
    render->add_option("--gains", arguments.gains, "Gain of each band in dB, 63 Hz to 8 kHz, -24 to 24")
        ->type_name("g0,...,g7")
        ->check(CLI::Validator(checkGains, "", "gains"))
        ->excludes(preset);
    render->add_option("--volume", arguments.volume, "Linear volume, 0 to 16 (default: 1)")
        ->type_name("V")
        ->check(CLI::Validator(checkVolume, "", "volume"));
    render
        ->add_option("--initial-volume", arguments.initialVolume,
                     "Linear volume that the first buffer ramps from (default: that of --volume)")
        ->type_name("V")
        ->check(CLI::Validator(checkVolume, "", "volume"));
    render->add_flag("--bypass", arguments.isBypassed, "Leave the curve out; the volume stays");
    render->add_option("--buffer", arguments.bufferFrames, "Frames a buffer, 1 to 8192 (default: 480)")
        ->type_name("FRAMES")
        ->check(CLI::Range(std::size_t{1}, RenderOptions::maximumBufferFrames));
    render->add_option("IN", arguments.input, "Sound file of 1 or 2 channels")->type_name("")->required();
    render->add_option("OUT", arguments.output, "WAV file of 32-bit floats to be written")
        ->type_name("")
        ->required();
    return render;
}

/// The arguments of `permission`.
const std::map<std::string, PermissionAction> kPermissionActions{{"allow", PermissionAction::allow},
                                                                 {"ask", PermissionAction::ask},
                                                                 {"deny", PermissionAction::deny},
                                                                 {"show", PermissionAction::show}};

CLI::App* addPermission(CLI::App& application, std::string& action) {
    CLI::App* permission =
        application.add_subcommand("permission", "Allow or deny the capture of what applications play");
    permission
        ->add_option("ACTION", action,
                     "allow, deny, show what holds (the default), or ask for an answer here")
        ->type_name("")
        ->check(CLI::IsMember(kPermissionActions));
    return permission;
}

RenderOptions renderOptions(const RenderArguments& arguments) {
    RenderOptions options;
    options.input = arguments.input;
    options.output = arguments.output;
    options.bufferFrames = arguments.bufferFrames;
    options.settings.isBypassed = arguments.isBypassed;
    if (const auto preset = EQPreset::fromRawValue(arguments.preset))
        options.settings.bandGains.assign(preset->bandGains().begin(), preset->bandGains().end());
    if (const auto chosen = renderGains(arguments.gains))
        options.settings.bandGains = *chosen;
    options.settings.volume = parseNumber(arguments.volume).value_or(options.settings.volume);
    options.initialVolume = parseNumber(arguments.initialVolume);
    return options;
}

CLI::App* addAnalyze(CLI::App& application, std::string& input) {
    CLI::App* analyze = application.add_subcommand(
        "analyze", "Print the spectrum and the tempo at the end of a sound file as JSON");
    analyze->add_option("IN", input, "Sound file of 1 or 2 channels")->type_name("")->required();
    return analyze;
}

ParsedCommand finish(CLI::App& application, const CLI::ParseError& reason, std::ostream& out,
                     std::ostream& error) {
    if (reason.get_exit_code() == 0) {
        application.exit(reason, out, error);
        return {.exitCode = kExitDone};
    }
    error << "vello: " << oneLine(reason.what()) << "; try vello --help\n";
    return {.exitCode = kExitWrongUsage};
}

} // namespace

ParsedCommand parseCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& error) {
    CLI::App application("Equalizes the sound of each application separately.", "vello");
    application.set_version_flag("--version", std::string(kApplicationName) + " " + kVersion);
    bool isHeadless = false;
    CLI::Option* headless = application.add_flag("--headless", isHeadless,
                                                 "Run the engine without a screen until SIGTERM or SIGINT");
    bool isInBackground = false;
    CLI::Option* background =
        application
            .add_flag("--background", isInBackground, "Start with the tray item only, the panel closed")
            ->excludes(headless);
    std::string syncFolder;
    CLI::Option* sync = application
                            .add_option("--sync-folder", syncFolder,
                                        "Folder that shares presets with the user's other machines")
                            ->type_name("FOLDER")
                            ->check(CLI::Validator(checkFolder, "", "folder"));
    RenderArguments arguments;
    CLI::App* render = addRender(application, arguments);
    std::string analyzed;
    CLI::App* analyze = addAnalyze(application, analyzed);
    std::string permissionAction = "show";
    CLI::App* permission = addPermission(application, permissionAction);
    const ClientArguments client(application);
    for (CLI::App* command : application.get_subcommands({}))
        command->excludes(headless)->excludes(background)->excludes(sync);
    application.require_subcommand(0, 1);
    try {
        application.parse(argc, argv);
        if (const auto request = client.request())
            return {.command = Command::client, .client = *request};
    } catch (const CLI::ParseError& reason) {
        return finish(application, reason, out, error);
    }
    if (render->parsed())
        return {.command = Command::render, .render = renderOptions(arguments)};
    if (analyze->parsed())
        return {.command = Command::analyze, .analyze = {analyzed}};
    if (permission->parsed())
        return {.command = Command::permission, .permission = kPermissionActions.at(permissionAction)};
    return {.command = isHeadless ? Command::headless : Command::panel,
            .syncFolder = syncFolder,
            .isInBackground = isInBackground};
}

} // namespace vello
