// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Names of applications, devices and presets come from untrusted sources. These functions check whether a
/// text can be shown as it is, and make it safe for one line of a file or a terminal.
namespace vello {

/// Whether the text is valid UTF-8 and free of characters that control a terminal, change the text direction
/// or break a line: C0 and C1 controls, DEL, line and paragraph separators, bidirectional embeddings,
/// overrides, isolates and marks.
bool isPlainText(std::string_view text) noexcept;

/// `text` for one line of a file or the log. Characters that isPlainText() rejects and invalid bytes are
/// escaped as \n, \t, \x1b, \u{202e}. Cut with "..." at about `mostBytes`.
std::string escapedForOneLine(std::string_view text, std::size_t mostBytes);

/// `text` for one line of a terminal. A question mark replaces every invalid UTF-8 sequence and every
/// character that moves the cursor, changes the text direction or is invisible.
std::string terminalText(std::string_view text);
/// Number of terminal columns: 0 for a combining mark, 2 for a wide character, else 1.
std::size_t terminalWidth(std::string_view text);
/// terminalText() of `text`, cut with "…" if it is wider than `columns`.
std::string fittedText(std::string_view text, std::size_t columns);

} // namespace vello
