// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/OutsideValues.h"

#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace vello {

/// What the command line asks of the running instance.
struct ClientRequest {
    enum class Action { status, set, turnOn, turnOff, listPresets, savePreset, showPanel };

    Action action = Action::status;
    bool isJSON = false;
    bool keepsWatching = false; ///< of status
    bool showsAll = false;      ///< of status: also what is left as it is
    std::string source = {};    ///< of set and savePreset: an id or a name
    /// Of set. A preset and an output are written as the user wrote them: id or name, output also "auto".
    SettingsChange change = {};
    std::string presetName = {}; ///< of savePreset
};

/// The commands that speak to the running instance: their options, and the request that they make.
class ClientArguments {
public:
    /// Adds the commands; `application` is parsed before this object goes.
    explicit ClientArguments(CLI::App& application);
    ~ClientArguments();
    ClientArguments(const ClientArguments&) = delete;
    ClientArguments& operator=(const ClientArguments&) = delete;

    /// After parsing; nothing when the command is none of these.
    std::optional<ClientRequest> request() const;

private:
    struct Commands;
    std::unique_ptr<Commands> commands_;
};

} // namespace vello
