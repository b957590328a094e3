// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Text.h"

#include <cstdint>
#include <cstdio>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vello {
namespace {

constexpr std::size_t kMostCombiningMarks = 4; ///< per character; more would overlap other lines

/// Calls `visit` with each character and its bytes; a negative character means invalid UTF-8.
template <class Visitor> void forEachCharacter(std::string_view text, Visitor visit) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        UChar32 character = 0;
        U8_NEXT(bytes, end, text.size(), character);
        if (!visit(character, text.substr(begin, end - begin)))
            return;
    }
}

bool isMark(UChar32 character) {
    const auto mask = U_GET_GC_MASK(character);
    return (mask & (U_GC_MN_MASK | U_GC_ME_MASK)) != 0;
}

/// False for control, format (including bidirectional), unassigned, private-use and separator characters.
bool isSafe(UChar32 character) {
    return character >= 0 && (U_GET_GC_MASK(character) & (U_GC_C_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK)) == 0;
}

std::size_t width(UChar32 character) {
    if (character < 0)
        return 1;
    if (isMark(character))
        return 0;
    const auto kind = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return kind == U_EA_WIDE || kind == U_EA_FULLWIDTH ? 2 : 1;
}

bool isPlain(UChar32 character) {
    constexpr UChar32 byteOrderMark = 0xfeff;
    constexpr auto breaking = U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
    return character >= 0 && (U_GET_GC_MASK(character) & breaking) == 0 && character != byteOrderMark &&
           !u_hasBinaryProperty(character, UCHAR_BIDI_CONTROL);
}

void appendByte(std::string& line, char byte) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    line += escape;
}

void appendEscaped(std::string& line, UChar32 character, std::string_view bytes) {
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u{%x}", static_cast<unsigned>(character));
    if (bytes == "\n" || bytes == "\t")
        line += bytes == "\n" ? "\\n" : "\\t";
    else if (character >= 0 && bytes.size() > 1)
        line += escape;
    else
        for (const char byte : bytes)
            appendByte(line, byte);
}

} // namespace

bool isPlainText(std::string_view text) noexcept {
    bool isPlainSoFar = true;
    forEachCharacter(text,
                     [&](UChar32 character, std::string_view) { return isPlainSoFar = isPlain(character); });
    return isPlainSoFar;
}

std::string escapedForOneLine(std::string_view text, std::size_t mostBytes) {
    std::string line;
    forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
        const bool isFull = line.size() >= mostBytes;
        if (isFull)
            line += "...";
        else if (isPlain(character))
            line += bytes;
        else
            appendEscaped(line, character, bytes);
        return !isFull;
    });
    return line;
}

std::string terminalText(std::string_view text) {
    std::string result;
    std::size_t marks = 0;
    forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
        marks = character >= 0 && isMark(character) ? marks + 1 : 0;
        if (!isSafe(character))
            result += '?';
        else if (marks <= kMostCombiningMarks)
            result += bytes;
        return true;
    });
    return result;
}

std::size_t terminalWidth(std::string_view text) {
    std::size_t columns = 0;
    forEachCharacter(text, [&](UChar32 character, std::string_view) {
        columns += width(character);
        return true;
    });
    return columns;
}

std::string fittedText(std::string_view text, std::size_t columns) {
    std::string safe = terminalText(text);
    if (terminalWidth(safe) <= columns)
        return safe;
    std::string result;
    std::size_t used = 0;
    forEachCharacter(safe, [&](UChar32 character, std::string_view bytes) {
        used += width(character);
        if (used >= columns)
            return false;
        result += bytes;
        return true;
    });
    return result + "…";
}

} // namespace vello
