// SPDX-License-Identifier: Apache-2.0
#include "ClientCommand.h"

#include "Control/State/Numbers.h"

#include <CLI/CLI.hpp>

namespace vello {
namespace {

using Action = ClientRequest::Action;
using Request = std::shared_ptr<ClientRequest>;

Request makeRequest(Action action) {
    return std::make_shared<ClientRequest>(ClientRequest{.action = action});
}

void addList(CLI::App& application, ClientCommands& commands) {
    const Request request = makeRequest(Action::listPresets);
    CLI::App* presets = application.add_subcommand("presets", "Show the built-in and the saved curves");
    addFormat(*presets, request->format, "One JSON array instead of a table");
    commands.push_back({presets, [request] { return *request; }});
}

void addSave(CLI::App& saved, ClientCommands& commands) {
    struct Words {
        ClientRequest request{.action = Action::savePreset};
        std::string gains;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* save = saved.add_subcommand("save", "Save a curve under a name");
    refuse(
        *save->add_option("NAME", words->request.presetName, "Name; a saved curve of this name is replaced")
             ->type_name("")
             ->required(),
        "name", checkNewPresetName);
    CLI::Option* from =
        save->add_option("--from", words->request.source, "Source whose curve it is, by id or name")
            ->type_name("SOURCE");
    requireText(*from);
    refuse(*save->add_option("--gains", words->gains, "Gain of each band in dB, 63 Hz to 8 kHz, -12 to 12")
                ->type_name("g0,...,g7")
                ->excludes(from),
           "gains", checkGainsText);
    addFormat(*save, words->request.format, "Errors as JSON");
    commands.push_back({save, [words] {
                            words->request.change.bandGains = parseGains(words->gains);
                            if (!words->request.change.bandGains && words->request.source.empty())
                                throw CLI::RequiredError("--from or --gains");
                            return words->request;
                        }});
}

/// The argument that names a saved preset.
void addPreset(CLI::App& command, std::string& name) {
    requireText(*command.add_option("PRESET", name, "Name of a saved curve")->type_name("")->required());
}

void addDelete(CLI::App& saved, ClientCommands& commands) {
    const Request request = makeRequest(Action::deletePreset);
    CLI::App* remove =
        saved.add_subcommand("delete", "Delete a saved curve; sources that use it keep its gains");
    addPreset(*remove, request->presetName);
    addFormat(*remove, request->format, "Errors as JSON");
    commands.push_back({remove, [request] { return *request; }});
}

void addRename(CLI::App& saved, ClientCommands& commands) {
    const Request request = makeRequest(Action::renamePreset);
    CLI::App* rename = saved.add_subcommand("rename", "Give a saved curve another name");
    addPreset(*rename, request->presetName);
    refuse(
        *rename->add_option("NEW", request->newName, "New name; another saved curve of this name is replaced")
             ->type_name("")
             ->required(),
        "name", checkNewPresetName);
    addFormat(*rename, request->format, "Errors as JSON");
    commands.push_back({rename, [request] { return *request; }});
}

void checkFileName(const std::string& text) {
    if (text.empty())
        throw OutsideValueError(OutsideValueError::Kind::invalidValue, "expected the name of a file, or -");
}

void addImport(CLI::App& saved, ClientCommands& commands) {
    const Request request = makeRequest(Action::importPresets);
    PresetFileRequest& words = request->presetFile;
    CLI::App* importing = saved.add_subcommand(
        "import", "Save the curves of a file: of VELLO, Equalizer APO, AutoEq or EasyEffects");
    refuse(*importing->add_option("FILE", words.file, "File with a curve; - is standard input")
                ->type_name("")
                ->required(),
           "file", checkFileName);
    refuse(*importing->add_option("--name", words.name, "Name to save it under (default: that of the file)")
                ->type_name("NAME"),
           "name", checkNewPresetName);
    importing->add_flag("--dry-run", words.savesNothing, "Only say what would be saved");
    addFormat(*importing, request->format, "One JSON object instead of a text");
    commands.push_back({importing, [request] { return *request; }});
}

void addExport(CLI::App& saved, ClientCommands& commands) {
    const Request request = makeRequest(Action::exportPresets);
    PresetFileRequest& words = request->presetFile;
    CLI::App* exporting = saved.add_subcommand("export", "Write saved curves to a file");
    requireText(*exporting->add_option("PRESET", words.exportedNames, "Names of saved curves (default: all)")
                     ->type_name(""));
    refuse(*exporting->add_option("--output", words.file, "File to write; - is standard output (default)")
                ->type_name("FILE"),
           "file", checkFileName);
    addFormat(*exporting, request->format, "Errors as JSON");
    commands.push_back({exporting, [request] { return *request; }});
}

} // namespace

void addPresetCommands(CLI::App& application, ClientCommands& commands) {
    addList(application, commands);
    CLI::App* saved = application.add_subcommand("preset", "Work on saved curves");
    saved->require_subcommand(1, 1);
    addSave(*saved, commands);
    addDelete(*saved, commands);
    addRename(*saved, commands);
    addImport(*saved, commands);
    addExport(*saved, commands);
}

} // namespace vello
