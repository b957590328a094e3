// SPDX-License-Identifier: Apache-2.0
#include "ChangeWords.h"
#include "ClientCommand.h"

#include "Control/State/Numbers.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace vello {
namespace {

using Action = ClientRequest::Action;

/// The options of `set` as written by the user.
struct SetWords {
    ClientRequest request{.action = Action::set};
    std::string preset, gains, volume, output, bypass, downmix;
    std::vector<std::string> bands;
};

void checkVolumeText(const std::string& text) {
    SettingsChange ignored;
    parseVolumeChange(text, ignored);
}

void addCurve(CLI::App& set, SetWords& words) {
    CLI::Option* preset = set.add_option("--preset", words.preset, "Curve, built-in or saved, by id or name")
                              ->type_name("PRESET");
    requireText(*preset);
    CLI::Option* gains =
        set.add_option("--gains", words.gains, "Gain of each band in dB, 63 Hz to 8 kHz, -12 to 12")
            ->type_name("g0,...,g7")
            ->excludes(preset);
    refuse(*gains, "gains", checkGainsText);
    refuse(*set.add_option("--band", words.bands,
                           "One band: 1k=3 sets its gain in dB, 1k+=3 and 1k-=3 change it; repeatable")
                ->type_name("BAND")
                ->allow_extra_args(false),
           "band", [](const std::string& text) { parseBandChange(text); });
    set.add_flag("--reset", words.request.change.resetsCurve, "Make the curve flat")
        ->excludes(preset)
        ->excludes(gains);
}

void addOthers(CLI::App& set, SetWords& words) {
    refuse(*set.add_option("--volume", words.volume,
                           "Volume: 0.5 or 50%; a sign changes it by so much: +5%, -3dB")
                ->type_name("V"),
           "volume", checkVolumeText);
    requireText(
        *set.add_option("--output", words.output, "Output by id or name, or \"auto\"")->type_name("OUTPUT"));
    requireOneOf(*set.add_option("--bypass", words.bypass, "Leave the source as it is: on, off or toggle"),
                 {"on", "off", "toggle"});
    requireOneOf(*set.add_option("--downmix", words.downmix,
                                 "Take streams of more than two channels too, as two: on or off"),
                 {"on", "off"});
    set.add_flag("--new", words.request.change.isNew,
                 "SOURCE is an id that VELLO does not know yet: settings before the first play");
}

std::vector<BandChange> bandChanges(const std::vector<std::string>& texts) {
    std::vector<BandChange> changes;
    for (const std::string& text : texts) {
        const BandChange change = parseBandChange(text);
        if (std::ranges::find(changes, change.band, &BandChange::band) != changes.end())
            throw CLI::ValidationError("--band", "name every band only once");
        changes.push_back(change);
    }
    return changes;
}

ClientRequest setRequest(const SetWords& words) {
    ClientRequest request = words.request;
    SettingsChange& change = request.change;
    change.bandGains = parseGains(words.gains);
    change.bands = bandChanges(words.bands);
    if (!words.volume.empty())
        parseVolumeChange(words.volume, change);
    if (!words.preset.empty())
        change.presetID = words.preset;
    if (!words.output.empty())
        change.outputDeviceUID = words.output;
    if (words.bypass == "toggle")
        change.togglesBypass = true;
    else if (!words.bypass.empty())
        change.isBypassed = words.bypass == "on";
    if (!words.downmix.empty())
        change.downmixesSurround = words.downmix == "on";
    if (change == SettingsChange{.isNew = change.isNew})
        throw CLI::ValidationError("set", "say what to change, for example --volume 0.5");
    return request;
}

void addSet(CLI::App& application, ClientCommands& commands) {
    const auto words = std::make_shared<SetWords>();
    CLI::App* set = application.add_subcommand("set", "Change how a source sounds");
    addSource(*set, words->request.source,
              "Id or name; \"system\" is every source without settings of its own");
    addCurve(*set, *words);
    addOthers(*set, *words);
    addFormat(*set, words->request.format, "Errors and hints as JSON");
    commands.push_back({set, [words] { return setRequest(*words); }});
}

} // namespace

void addSourceCommands(CLI::App& application, ClientCommands& commands) {
    addSet(application, commands);
    const auto add = [&](const char* name, Action action, const char* help) {
        const auto request = std::make_shared<ClientRequest>(ClientRequest{.action = action});
        CLI::App* command = application.add_subcommand(name, help);
        addSource(*command, request->source, "Id or name");
        addFormat(*command, request->format, "Errors as JSON");
        commands.push_back({command, [request] { return *request; }});
    };
    add("follow", Action::follow, "Let a source use the settings of \"system\" again, in every respect");
    add("undo", Action::undo, "Take back the last change of a source's settings; again: make it again");
    add("forget", Action::forget, "Drop the stored settings of a source");
}

} // namespace vello
