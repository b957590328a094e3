// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/Completion.h"
#include "Control/CommandLine/OutputFormat.h"
#include "Control/State/OutsideValues.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace vello {

inline constexpr double kLowestLevelRate = 0.1;   ///< Hz
inline constexpr double kHighestLevelRate = 20.0; ///< Hz, as often as a running instance tells levels

/// Presets to import from a file or to export to one. The file name "-" is standard input or output.
struct PresetFileRequest {
    std::string file = "-";
    std::string name = {};                       ///< of the imported preset; empty: from the file
    bool savesNothing = false;                   ///< only say what an import would save
    std::vector<std::string> exportedNames = {}; ///< empty: all saved presets
};

/// A command-line request to the running instance.
struct ClientRequest {
    enum class Action {
        status,
        listOutputs,
        listPresets,
        set,
        follow,
        undo,
        forget,
        turnOn,
        turnOff,
        toggle,
        savePreset,
        deletePreset,
        renamePreset,
        importPresets,
        exportPresets,
        complete,
        showPanel
    };

    Action action = Action::status;
    OutputFormat format = OutputFormat::text;
    bool keepsWatching = false; ///< for status
    bool showsAll = false;      ///< for status: also what is no source now
    bool showsLevels = false;   ///< for a watch with JSON
    double levelRate = kHighestLevelRate;
    std::string source = {}; ///< an id or a name; for savePreset empty if `change` has the gains
    /// Preset and output as written by the user: an id or a name, or "auto" for the output.
    SettingsChange change = {};
    std::string presetName = {};
    std::string newName = {};          ///< for renamePreset
    PresetFileRequest presetFile = {}; ///< for importPresets and exportPresets
    Completion completion = {};        ///< for complete
};

/// Defines the commands for the running instance and their options, and converts them to a request.
class ClientArguments {
public:
    /// Adds the commands. `application` must be parsed before this object is destroyed.
    explicit ClientArguments(CLI::App& application);
    ~ClientArguments();
    ClientArguments(const ClientArguments&) = delete;
    ClientArguments& operator=(const ClientArguments&) = delete;

    /// Call after parsing. Returns nullopt if the command is not one of these. Throws CLI::ParseError for
    /// options that make no sense together.
    std::optional<ClientRequest> request() const;

private:
    struct Commands;
    std::unique_ptr<Commands> commands_;
};

} // namespace vello
