// SPDX-License-Identifier: Apache-2.0
#include "FileCommands.h"

#include "ClientCommand.h"
#include "Control/State/Numbers.h"
#include "Models/EQPreset.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>

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

std::string checkRenderGains(const std::string& text) {
    return renderGains(text) ? "" : "expected eight numbers between -24 and 24, separated by commas";
}

std::string checkRenderVolume(const std::string& text) {
    const auto value = parseNumber(text);
    return value && *value >= 0 && *value <= kLargestRenderVolume ? "" : "expected a number between 0 and 16";
}

} // namespace

CLI::App* addRender(CLI::App& application, RenderArguments& arguments) {
    CLI::App* render =
        application.add_subcommand("render", "Run a sound file through the equalizer, offline");
    CLI::Option* preset =
        render
            ->add_option("--preset", arguments.preset,
                         "Curve, saved or built-in, by id or name; built-in: " + presetIDs())
            ->type_name("PRESET");
    requireText(*preset);
    render->add_option("--gains", arguments.gains, "Gain of each band in dB, 63 Hz to 8 kHz, -24 to 24")
        ->type_name("g0,...,g7")
        ->check(CLI::Validator(checkRenderGains, "", "gains"))
        ->excludes(preset);
    render->add_option("--volume", arguments.volume, "Linear volume, 0 to 16 (default: 1)")
        ->type_name("V")
        ->check(CLI::Validator(checkRenderVolume, "", "volume"));
    render
        ->add_option("--initial-volume", arguments.initialVolume,
                     "Linear volume that the first buffer ramps from (default: that of --volume)")
        ->type_name("V")
        ->check(CLI::Validator(checkRenderVolume, "", "volume"));
    render->add_flag("--bypass", arguments.isBypassed, "Leave the curve out; the volume stays");
    render->add_option("--buffer", arguments.bufferFrames, "Frames a buffer, 1 to 8192 (default: 480)")
        ->type_name("FRAMES")
        ->check(CLI::Range(std::size_t{1}, RenderOptions::maximumBufferFrames));
    render->add_option("IN", arguments.input, "Sound file of 1 or 2 channels; - is standard input")
        ->type_name("")
        ->required();
    render
        ->add_option("OUT", arguments.output, "WAV file of 32-bit floats to be written; - is standard output")
        ->type_name("")
        ->required();
    addFormat(*render, arguments.format, "Errors as JSON");
    return render;
}

RenderOptions renderOptions(const RenderArguments& arguments) {
    RenderOptions options;
    options.input = arguments.input;
    options.output = arguments.output;
    options.bufferFrames = arguments.bufferFrames;
    options.settings.isBypassed = arguments.isBypassed;
    options.format = arguments.format;
    options.preset = arguments.preset;
    if (const auto chosen = renderGains(arguments.gains))
        options.settings.bandGains = *chosen;
    options.settings.volume = parseNumber(arguments.volume).value_or(options.settings.volume);
    options.initialVolume = parseNumber(arguments.initialVolume);
    return options;
}

CLI::App* addAnalyze(CLI::App& application, AnalyzeArguments& arguments) {
    CLI::App* analyze = application.add_subcommand(
        "analyze", "Print the spectrum and the tempo at the end of a sound file as JSON");
    analyze->add_option("IN", arguments.input, "Sound file of 1 or 2 channels; - is standard input")
        ->type_name("")
        ->required();
    addFormat(*analyze, arguments.format, "Errors as JSON too");
    return analyze;
}

} // namespace vello
