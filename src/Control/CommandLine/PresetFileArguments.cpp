// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/PresetFileArguments.h"

#include "Control/State/OutsideValues.h"

#include <CLI/CLI.hpp>

namespace vello {
namespace {

/// A validator: an empty string, or an error message.
std::string refusalOfImportedName(const std::string& text) {
    try {
        checkImportedPresetName(text);
        return "";
    } catch (const OutsideValueError& error) {
        return error.what();
    }
}

std::string refusalOfFileName(const std::string& text) {
    return text.empty() ? "expected the name of a file, or -" : "";
}

} // namespace

PresetFileArguments::PresetFileArguments(CLI::App& presetCommand)
    : request_(std::make_unique<PresetFileRequest>()),
      importing_(presetCommand.add_subcommand(
          "import", "Save the curves of a file: of VELLO, Equalizer APO, AutoEq or EasyEffects")),
      exporting_(presetCommand.add_subcommand("export", "Write saved curves to a file")) {
    const CLI::Validator isFileName(refusalOfFileName, "", "file");
    importing_->add_option("FILE", request_->file, "File with a curve; - reads standard input")
        ->type_name("")
        ->required()
        ->check(isFileName);
    importing_->add_option("--name", request_->name, "Name to save it under (default: that of the file)")
        ->type_name("NAME")
        ->check(CLI::Validator(refusalOfImportedName, "", "name"));
    importing_->add_flag("--dry-run", request_->savesNothing, "Only say what would be saved");
    exporting_->add_option("NAME", request_->exportedNames, "Saved curves (default: all)")->type_name("");
    exporting_->add_option("--output", request_->file, "File to write; - is standard output (default)")
        ->type_name("FILE")
        ->check(isFileName);
}

} // namespace vello
