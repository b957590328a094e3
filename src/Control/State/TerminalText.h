// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Names of applications, devices and presets come from strangers. These make them fit for a terminal.
namespace vello {

/// `text` in one line that shows as it is written: a question mark stands for every byte that is no UTF-8 and
/// every character that moves the cursor, changes the direction of writing or has no shape of its own.
std::string terminalText(std::string_view text);
/// Columns that `text` takes on a terminal: none for a combining mark, two for a wide character.
std::size_t terminalWidth(std::string_view text);
/// `text` made fit for a terminal, cut with "…" where it is wider than `columns`.
std::string fittedText(std::string_view text, std::size_t columns);

} // namespace vello
