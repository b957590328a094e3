// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace vello {

/// A word that the shell may offer, and what it is for.
struct CompletionWord {
    std::string word;
    std::string description = {};

    friend bool operator==(const CompletionWord&, const CompletionWord&) = default;
};

/// What may stand at one place of a command line.
struct Completion {
    /// Values that only the running instance knows, beside `words`; or files.
    enum class Values { none, files, sources, settableSources, storedSources, presets, userPresets, outputs };

    std::vector<CompletionWord> words = {};
    Values values = Values::none;
};

/// What may stand in place of the last of `words`, which is incomplete and may be empty. The commands and
/// options of `application` are the only table: a new option is completed as soon as it exists, its values by
/// its type name, such as "on|off" or "PRESET".
Completion completionOf(const CLI::App& application, std::span<const std::string> words);

/// The text that makes a shell ask `vello complete`; nullptr for an unknown shell.
const char* completionScript(const std::string& shell);

/// The shells that have one.
std::vector<std::string> completedShells();

} // namespace vello
