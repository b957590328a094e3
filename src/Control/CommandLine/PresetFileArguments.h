// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace vello {

/// Presets to import from a file or to export to one. The file name "-" is standard input or output.
struct PresetFileRequest {
    std::string file = "-";
    std::string name = {};                       ///< of the imported preset; empty: from the file
    bool savesNothing = false;                   ///< only say what an import would save
    std::vector<std::string> exportedNames = {}; ///< empty: all saved presets
};

/// The commands "import" and "export" and their options.
class PresetFileArguments {
public:
    /// Adds the commands. `presetCommand` must be parsed before this object is destroyed.
    explicit PresetFileArguments(CLI::App& presetCommand);

    const CLI::App* importing() const { return importing_; }
    const CLI::App* exporting() const { return exporting_; }
    /// Call after parsing.
    PresetFileRequest request() const { return *request_; }

private:
    std::unique_ptr<PresetFileRequest> request_; ///< the parser keeps references to its members
    CLI::App* importing_;
    CLI::App* exporting_;
};

} // namespace vello
