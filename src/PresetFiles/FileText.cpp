// SPDX-License-Identifier: Apache-2.0
#include "FileText.h"

#include "Foundation/DisplayText.h"
#include "Foundation/Localization.h"
#include "PresetFiles/PresetFile.h"

#include <algorithm>
#include <cstdint>

#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace vello {
namespace {

std::string toUTF8(const std::u16string& units) {
    std::string text;
    icu::UnicodeString(units.data(), static_cast<std::int32_t>(units.size())).toUTF8String(text);
    return text;
}

/// `content` without its mark; a last odd byte is ignored.
std::string fromUTF16(std::string_view content, bool isBigEndian) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < content.size(); i += 2) {
        const auto first = static_cast<unsigned char>(content[i]);
        const auto second = static_cast<unsigned char>(content[i + 1]);
        units += static_cast<char16_t>(isBigEndian ? first * 256 + second : second * 256 + first);
    }
    return toUTF8(units);
}

std::string fromLatin1(std::string_view content) {
    std::u16string units;
    for (const char byte : content)
        units += static_cast<char16_t>(static_cast<unsigned char>(byte));
    return toUTF8(units);
}

bool isUTF8(std::string_view content) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
    UChar32 character = 0;
    for (std::size_t i = 0; i < content.size() && character >= 0;)
        U8_NEXT(bytes, i, content.size(), character);
    return character >= 0;
}

std::string decoded(std::string_view content) {
    if (content.starts_with("\xff\xfe"))
        return fromUTF16(content.substr(2), false);
    if (content.starts_with("\xfe\xff"))
        return fromUTF16(content.substr(2), true);
    if (content.starts_with("\xef\xbb\xbf"))
        content.remove_prefix(3);
    return isUTF8(content) ? std::string(content) : fromLatin1(content);
}

/// Control characters that no text editor leaves in a text.
bool isBinary(std::string_view text) {
    constexpr std::string_view textual = "\t\n\r\f\x1a";
    return std::ranges::any_of(
        text, [&](char byte) { return byte >= 0 && byte < 0x20 && textual.find(byte) == textual.npos; });
}

} // namespace

std::string fileText(std::string_view content) {
    if (content.size() > kLargestPresetFile)
        throw PresetFileError(
            {wordingKey("The file is too large for a preset. Choose one of at most 1 MB.")});
    std::string text = decoded(content);
    if (isBinary(text))
        throw PresetFileError(
            {wordingKey("The file is not text. Choose the text or JSON file of an equalizer.")});
    if (trimmedWhiteSpace(text).empty())
        throw PresetFileError({wordingKey("The file is empty. Choose one that holds a curve.")});
    return text;
}

} // namespace vello
