// SPDX-License-Identifier: Apache-2.0
#include "PresetFileCommands.h"

#include "ClientOutput.h"
#include "Control/State/Lookup.h"
#include "Foundation/Descriptor.h"
#include "Foundation/Files.h"
#include "Foundation/JSONText.h"
#include "Foundation/ReplacingFile.h"
#include "Foundation/Text.h"
#include "PresetFiles/PresetFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vello {
namespace {

constexpr char kStandardStream[] = "-";

std::string shownFile(const std::string& file) {
    return file == kStandardStream ? "standard input" : "'" + terminalText(file) + "'";
}

[[noreturn]] void refuseFile(const char* action, const std::string& file, const std::string& reason) {
    throw std::runtime_error(std::string("cannot ") + action + " '" + terminalText(file) + "': " + reason);
}

std::string reasonOf(int error) {
    return std::generic_category().message(error);
}

/// Reads one byte more than a preset file may have, so that a larger one is noticed. Pipes are read too.
std::string contentOf(const std::string& file) {
    const bool isInput = file == kStandardStream;
    const Descriptor opened(isInput ? -1 : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!isInput && !opened.isOpen())
        refuseFile("read", file, reasonOf(errno));
    const auto content = readAll(isInput ? STDIN_FILENO : opened.number(), kLargestPresetFile + 1);
    if (!content)
        refuseFile("read", file, reasonOf(errno));
    return *content;
}

std::vector<ImportedPreset> presetsOf(const std::string& file) {
    const std::string content = contentOf(file);
    try {
        return readPresetFile(content);
    } catch (const PresetFileError& error) {
        throw std::runtime_error(shownFile(file) + ": " + terminalText(error.what()));
    }
}

void nameThem(std::vector<ImportedPreset>& presets, const PresetFileRequest& request) {
    if (!request.name.empty() && presets.size() > 1)
        throw std::runtime_error("the file has several presets with names of their own; leave --name out");
    ImportedPreset& first = presets.front();
    if (!request.name.empty())
        first.name = request.name;
    else if (first.name.empty() && request.file == kStandardStream)
        throw std::runtime_error("the input does not name its curve; give --name NAME");
    else if (first.name.empty())
        first.name = presetNameOfFile(request.file);
    for (const ImportedPreset& preset : presets)
        checkNewPresetName(preset.name);
}

void describe(const ImportedPreset& preset, std::ostream& text) {
    text << terminalText(preset.name) << "\n  gains  " << std::setprecision(2);
    for (std::size_t band = 0; band < preset.bandGains.size(); ++band)
        text << (band == 0 ? "" : ", ") << preset.bandGains[band];
    text << " dB, 63 Hz to 8 kHz\n  error  " << preset.error.rms << " dB RMS, at most "
         << preset.error.largest << " dB";
    if (preset.error.atFrequency > 0)
        text << " at " << std::setprecision(0) << preset.error.atFrequency << " Hz";
    text << '\n';
    for (const PresetRemark& remark : preset.remarks)
        text << "  note   " << terminalText(remark.text()) << '\n';
}

std::string described(const std::vector<ImportedPreset>& presets) {
    std::ostringstream text;
    text << std::fixed;
    for (const ImportedPreset& preset : presets)
        describe(preset, text);
    return text.str();
}

std::string importJSON(const std::vector<ImportedPreset>& presets, bool isSaved) {
    auto list = nlohmann::ordered_json::array();
    for (const ImportedPreset& preset : presets) {
        auto notes = nlohmann::ordered_json::array();
        for (const PresetRemark& remark : preset.remarks)
            notes.push_back(remark.text());
        list.push_back({{"name", preset.name},
                        {"bandGains", preset.bandGains},
                        {"rmsError", preset.error.rms},
                        {"largestError", preset.error.largest},
                        {"atFrequency", preset.error.atFrequency},
                        {"notes", std::move(notes)}});
    }
    return writeJSON({{"isSaved", isSaved}, {"presets", std::move(list)}}, JSONLayout::compact) + "\n";
}

void savePresets(const std::vector<ImportedPreset>& presets) {
    const RunningInstance instance;
    for (const ImportedPreset& preset : presets) {
        const QList<double> gains(preset.bandGains.begin(), preset.bandGains.end());
        instance.call("SavePreset", {QString::fromStdString(preset.name), QVariant::fromValue(gains)});
    }
    instance.call("Save", {});
}

/// The saved presets with these names; all of them if there are no names.
std::vector<UserEQPreset> selected(const std::vector<PresetState>& presets,
                                   const std::vector<std::string>& names) {
    std::vector<UserEQPreset> result;
    for (const std::string& name : names) {
        const std::string id = findUserPresetID(presets, name);
        const auto isMeant = [&](const PresetState& preset) { return !preset.isBuiltIn && preset.id == id; };
        result.push_back({name, std::ranges::find_if(presets, isMeant)->bandGains});
    }
    for (const PresetState& preset : presets)
        if (names.empty() && !preset.isBuiltIn)
            result.push_back({preset.name, preset.bandGains});
    if (result.empty())
        throw std::runtime_error("there are no saved presets; save one with: vello preset save");
    return result;
}

/// A device or a pipe takes what is written; a file is replaced as a whole.
bool takesWriting(const std::string& file) {
    std::error_code ignored;
    const auto status = std::filesystem::status(file, ignored);
    return std::filesystem::is_character_file(status) || std::filesystem::is_fifo(status);
}

void writeInto(const std::string& file, const std::string& content) {
    Descriptor opened(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (!opened.isOpen() || !writeAll(opened.number(), content) || !opened.close())
        refuseFile("write", file, reasonOf(errno));
}

void replaceFile(const std::string& file, const std::string& content) {
    try {
        ReplacingFile replacing(file, ReplacingFile::Permissions::usual);
        replacing.write(content);
        replacing.commit();
    } catch (const std::system_error& problem) {
        refuseFile("write", file, problem.code().message());
    }
}

} // namespace

void importPresets(const ClientRequest& request, const ClientOutput& output) {
    const bool isSaving = !request.presetFile.savesNothing;
    const bool isText = request.format == OutputFormat::text;
    std::vector<ImportedPreset> presets = presetsOf(request.presetFile.file);
    nameThem(presets, request.presetFile);
    if (isText)
        print(output, described(presets));
    if (isSaving)
        savePresets(presets);
    if (!isText)
        print(output, importJSON(presets, isSaving));
    else
        print(output, isSaving ? "Saved.\n" : "Nothing was saved.\n");
}

void exportPresets(const RunningInstance& instance, const PresetFileRequest& request,
                   const ClientOutput& output) {
    const std::string content = writePresetFile(selected(instance.presets(), request.exportedNames));
    if (request.file == kStandardStream)
        return print(output, content);
    if (takesWriting(request.file))
        writeInto(request.file, content);
    else
        replaceFile(request.file, content);
}

} // namespace vello
