// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace vello {

/// What a command prints is for people, or for programs: JSON, one object or array a line.
enum class OutputFormat { text, json };

/// Prints a failure as one line: "vello: " and the sentence, or as JSON an object with the word `kind` and
/// the exit code. Control characters become question marks. Returns `exitCode`.
int reportFailure(std::ostream& error, OutputFormat format, std::string_view kind,
                  const std::string& sentence, int exitCode);

/// Prints something that the user should know of a command that is done, as one line.
void reportHint(std::ostream& error, OutputFormat format, const std::string& sentence);

/// Flushes what was printed. Where it cannot be written, reports that and returns kExitFailed; otherwise
/// `exitCode`.
int finishOutput(std::ostream& out, std::ostream& error, OutputFormat format, int exitCode);

} // namespace vello
