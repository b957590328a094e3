// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Text.h"

#include <cstdint>
#include <cstdio>

namespace vello {
namespace {

/// What the first byte of a character tells: how many bytes follow and the first character of that length.
struct Lead {
    unsigned char mask;
    unsigned char pattern;
    std::size_t followers;
    char32_t smallest;
};
constexpr Lead kLeads[] = {
    {0x80, 0x00, 0, 0}, {0xe0, 0xc0, 1, 0x80}, {0xf0, 0xe0, 2, 0x800}, {0xf8, 0xf0, 3, 0x10000}};

struct Range {
    char32_t first;
    char32_t last;
};
constexpr Range kControlCharacters[] = {{0, 0x1f},        {0x7f, 0x9f},     {0x61c, 0x61c},  {0x200e, 0x200f},
                                        {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfeff, 0xfeff}};

const Lead* leadOf(unsigned char byte) noexcept {
    for (const Lead& lead : kLeads)
        if ((byte & lead.mask) == lead.pattern)
            return &lead;
    return nullptr;
}

void appendEscaped(std::string& line, char32_t character, std::size_t byteCount) {
    char escape[16];
    if (character == '\n' || character == '\t')
        std::snprintf(escape, sizeof escape, "%s", character == '\n' ? "\\n" : "\\t");
    else
        std::snprintf(escape, sizeof escape, byteCount == 1 ? "\\x%02x" : "\\u{%x}",
                      static_cast<unsigned>(character));
    line += escape;
}

} // namespace

std::optional<DecodedCharacter> decodeCharacter(std::string_view text) noexcept {
    const Lead* lead = text.empty() ? nullptr : leadOf(static_cast<unsigned char>(text[0]));
    if (lead == nullptr || text.size() <= lead->followers)
        return std::nullopt;
    char32_t character = static_cast<unsigned char>(text[0]) & static_cast<unsigned char>(~lead->mask);
    for (std::size_t i = 1; i <= lead->followers; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xc0) != 0x80)
            return std::nullopt;
        character = (character << 6) | (byte & 0x3fU);
    }
    const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
    if (character < lead->smallest || character > 0x10ffff || isSurrogate)
        return std::nullopt;
    return DecodedCharacter{character, lead->followers + 1};
}

bool isControlCharacter(char32_t character) noexcept {
    for (const Range& range : kControlCharacters)
        if (character >= range.first && character <= range.last)
            return true;
    return false;
}

bool isPlainText(std::string_view text) noexcept {
    while (!text.empty()) {
        const auto decoded = decodeCharacter(text);
        if (!decoded || isControlCharacter(decoded->character))
            return false;
        text.remove_prefix(decoded->byteCount);
    }
    return true;
}

std::string escapedForOneLine(std::string_view text, std::size_t mostBytes) {
    std::string line;
    while (!text.empty()) {
        if (line.size() >= mostBytes)
            return line + "...";
        const auto decoded = decodeCharacter(text);
        const std::size_t byteCount = decoded ? decoded->byteCount : 1;
        if (!decoded)
            appendEscaped(line, static_cast<unsigned char>(text[0]), 1);
        else if (isControlCharacter(decoded->character))
            appendEscaped(line, decoded->character, byteCount);
        else
            line += text.substr(0, byteCount);
        text.remove_prefix(byteCount);
    }
    return line;
}

} // namespace vello
