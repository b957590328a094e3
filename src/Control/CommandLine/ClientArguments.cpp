// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/ClientArguments.h"

#include "Control/State/Numbers.h"

#include <CLI/CLI.hpp>

namespace vello {
namespace {

using Action = ClientRequest::Action;

// Validators. They return an empty string for a valid value and otherwise an error message.

template <class Check> std::string refusal(Check check) {
    try {
        check();
        return "";
    } catch (const OutsideValueError& error) {
        return error.what();
    }
}

std::string checkGainsText(const std::string& text) {
    const auto gains = parseGains(text);
    return gains ? refusal([&] { checkGains(*gains); })
                 : "expected eight numbers between -12 and 12, separated by commas";
}

std::string checkVolumeText(const std::string& text) {
    const auto volume = parseNumber(text);
    return volume ? refusal([&] { checkVolume(*volume); }) : "expected a number between 0 and 1";
}

std::string checkNameText(const std::string& text) {
    return refusal([&] { checkPresetName(text); });
}

std::string checkSwitchText(const std::string& text) {
    return text == "on" || text == "off" ? "" : "expected on or off";
}

std::string checkNotEmpty(const std::string& text) {
    return text.empty() ? "it is empty; give an id or a name" : "";
}

} // namespace

struct ClientArguments::Commands {
    explicit Commands(CLI::App& application);

    void addStatus(CLI::App& application);
    void addSet(CLI::App& application);
    void addPresets(CLI::App& application);
    SettingsChange change() const;

    // The options as written by the user.
    bool isJSON = false, keepsWatching = false, showsAll = false, resets = false;
    std::string source, preset, gains, volume, output, bypass, downmix, name;

    std::optional<PresetFileArguments> presetFiles;

    CLI::App *status = nullptr, *set = nullptr, *on = nullptr, *off = nullptr, *presets = nullptr,
             *savePreset = nullptr;
};

ClientArguments::Commands::Commands(CLI::App& application) {
    addStatus(application);
    addSet(application);
    on = application.add_subcommand("on", "Switch the equalizer of all sources on");
    off = application.add_subcommand("off", "Switch the equalizer of all sources off");
    addPresets(application);
}

void ClientArguments::Commands::addStatus(CLI::App& application) {
    status = application.add_subcommand("status", "Show the sources of the running VELLO");
    status->add_flag("--json", isJSON, "One JSON object instead of a table");
    CLI::Option* watch = status->add_flag("--watch", keepsWatching, "Show every change until Ctrl+C");
    status
        ->add_flag("--all", showsAll,
                   "Also the streams that VELLO leaves as they are, and why, and what it holds ready")
        ->excludes(watch);
}

void ClientArguments::Commands::addSet(CLI::App& application) {
    set = application.add_subcommand("set", "Change how a source sounds");
    set->add_option("SOURCE", source, "Id or name; \"system\" is every source without settings of its own")
        ->type_name("")
        ->required()
        ->check(CLI::Validator(checkNotEmpty, "", "source"));
    auto* presetOption = set->add_option("--preset", preset, "Curve, built-in or saved, by id or name")
                             ->type_name("ID")
                             ->check(CLI::Validator(checkNotEmpty, "", "preset"));
    auto* gainsOption =
        set->add_option("--gains", gains, "Gain of each band in dB, 63 Hz to 8 kHz, -12 to 12")
            ->type_name("g0,...,g7")
            ->check(CLI::Validator(checkGainsText, "", "gains"))
            ->excludes(presetOption);
    set->add_option("--volume", volume, "Linear volume, 0 to 1")
        ->type_name("V")
        ->check(CLI::Validator(checkVolumeText, "", "volume"));
    set->add_option("--output", output, "Output by id or name, or \"auto\"")
        ->type_name("UID")
        ->check(CLI::Validator(checkNotEmpty, "", "output"));
    set->add_option("--bypass", bypass, "Leave the source as it is: on or off")
        ->type_name("on|off")
        ->check(CLI::Validator(checkSwitchText, "", "bypass"));
    set->add_option("--downmix", downmix, "Take streams of more than two channels too, as two: on or off")
        ->type_name("on|off")
        ->check(CLI::Validator(checkSwitchText, "", "downmix"));
    set->add_flag("--reset", resets, "Make the curve flat")->excludes(presetOption)->excludes(gainsOption);
}

void ClientArguments::Commands::addPresets(CLI::App& application) {
    presets = application.add_subcommand("presets", "Show the built-in and the saved curves");
    presets->add_flag("--json", isJSON, "One JSON array instead of a table");
    CLI::App* saved = application.add_subcommand("preset", "Work on saved curves");
    saved->require_subcommand(1, 1);
    savePreset = saved->add_subcommand("save", "Save the curve of a source under a name");
    savePreset->add_option("NAME", name, "Name; a saved curve of this name is replaced")
        ->type_name("")
        ->required()
        ->check(CLI::Validator(checkNameText, "", "name"));
    savePreset->add_option("--from", source, "Source whose curve it is, by id or name")
        ->type_name("SOURCE")
        ->required()
        ->check(CLI::Validator(checkNotEmpty, "", "source"));
    presetFiles.emplace(*saved);
}

SettingsChange ClientArguments::Commands::change() const {
    SettingsChange result{
        .resetsCurve = resets, .bandGains = parseGains(gains), .volume = parseNumber(volume)};
    if (!preset.empty())
        result.presetID = preset;
    if (!output.empty())
        result.outputDeviceUID = output;
    if (!bypass.empty())
        result.isBypassed = bypass == "on";
    if (!downmix.empty())
        result.downmixesSurround = downmix == "on";
    if (set->parsed() && result == SettingsChange())
        throw CLI::ValidationError("set", "say what to change, for example --volume 0.5");
    return result;
}

ClientArguments::ClientArguments(CLI::App& application)
    : commands_(std::make_unique<Commands>(application)) {}

ClientArguments::~ClientArguments() = default;

std::optional<ClientRequest> ClientArguments::request() const {
    const std::pair<const CLI::App*, Action> actions[] = {
        {commands_->status, Action::status},
        {commands_->set, Action::set},
        {commands_->on, Action::turnOn},
        {commands_->off, Action::turnOff},
        {commands_->presets, Action::listPresets},
        {commands_->savePreset, Action::savePreset},
        {commands_->presetFiles->importing(), Action::importPresets},
        {commands_->presetFiles->exporting(), Action::exportPresets}};
    for (const auto& [command, action] : actions)
        if (command->parsed())
            return ClientRequest{.action = action,
                                 .isJSON = commands_->isJSON,
                                 .keepsWatching = commands_->keepsWatching,
                                 .showsAll = commands_->showsAll,
                                 .source = commands_->source,
                                 .change = commands_->change(),
                                 .presetName = commands_->name,
                                 .presetFile = commands_->presetFiles->request()};
    return std::nullopt;
}

} // namespace vello
