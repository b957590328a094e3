// SPDX-License-Identifier: Apache-2.0
#include "Foundation/DisplayText.h"

#include <algorithm>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace vello {

namespace {

constexpr std::size_t kLongestCharacter = 4;

/// Whether this is a UTF-8 continuation byte.
bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// `text` must not be empty. Bytes that are not valid UTF-8 are split into characters of 1 to 4 bytes.
std::string_view firstCharacter(std::string_view text) {
    const bool isASCII = static_cast<unsigned char>(text[0]) < 0x80U;
    const std::size_t longest = isASCII ? 1 : std::min(text.size(), kLongestCharacter);
    std::size_t length = 1;
    while (length < longest && isContinuation(text[length]))
        ++length;
    return text.substr(0, length);
}

std::string_view lastCharacter(std::string_view text) {
    std::size_t length = 1;
    while (length < std::min(text.size(), kLongestCharacter) && isContinuation(text[text.size() - length]))
        ++length;
    return text.substr(text.size() - length);
}

bool isWhiteSpace(std::string_view character) {
    const auto unicode =
        icu::UnicodeString::fromUTF8({character.data(), static_cast<std::int32_t>(character.size())});
    return unicode.length() == 1 && u_isUWhiteSpace(unicode.char32At(0)) != 0;
}

} // namespace

bool hasVisibleText(std::string_view text) {
    // Only the beginning is searched: a visible character further back would never be displayed.
    const auto beginning = text.substr(0, 4 * kLongestName);
    const auto unicode =
        icu::UnicodeString::fromUTF8({beginning.data(), static_cast<std::int32_t>(beginning.size())});
    for (std::int32_t i = 0; i < unicode.length(); i = unicode.moveIndex32(i, 1))
        if (u_isgraph(unicode.char32At(i)))
            return true;
    return false;
}

std::string boundedName(std::string_view name) {
    constexpr std::string_view ellipsis = "…";
    if (name.size() <= kLongestName)
        return std::string(name);
    std::size_t length = kLongestName - ellipsis.size();
    for (std::size_t bytes = 1; bytes < kLongestCharacter && isContinuation(name[length]); ++bytes)
        --length;
    return std::string(name.substr(0, length)).append(ellipsis);
}

std::string_view trimmedWhiteSpace(std::string_view text) {
    while (!text.empty() && isWhiteSpace(firstCharacter(text)))
        text.remove_prefix(firstCharacter(text).size());
    while (!text.empty() && isWhiteSpace(lastCharacter(text)))
        text.remove_suffix(lastCharacter(text).size());
    return text;
}

} // namespace vello
