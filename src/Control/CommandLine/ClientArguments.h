// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/PresetFileArguments.h"
#include "Control/State/OutsideValues.h"

#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace vello {

/// A command-line request to the running instance.
struct ClientRequest {
    enum class Action {
        status,
        set,
        turnOn,
        turnOff,
        listPresets,
        savePreset,
        importPresets,
        exportPresets,
        showPanel
    };

    Action action = Action::status;
    bool isJSON = false;
    bool keepsWatching = false; ///< for status
    bool showsAll = false;      ///< for status: also lists exempt streams
    std::string source = {};    ///< for set and savePreset: an id or a name
    /// For set. Preset and output as written by the user: an id or a name, or "auto" for the output.
    SettingsChange change = {};
    std::string presetName = {};       ///< for savePreset
    PresetFileRequest presetFile = {}; ///< for importPresets and exportPresets
};

/// Defines the commands for the running instance and their options, and converts them to a request.
class ClientArguments {
public:
    /// Adds the commands. `application` must be parsed before this object is destroyed.
    explicit ClientArguments(CLI::App& application);
    ~ClientArguments();
    ClientArguments(const ClientArguments&) = delete;
    ClientArguments& operator=(const ClientArguments&) = delete;

    /// Call after parsing. Returns nullopt if the command is not one of these.
    std::optional<ClientRequest> request() const;

private:
    struct Commands;
    std::unique_ptr<Commands> commands_;
};

} // namespace vello
