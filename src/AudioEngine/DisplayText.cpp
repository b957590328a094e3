// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/DisplayText.h"

#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace vello {

bool hasVisibleText(std::string_view text) {
    // A name that hides its first visible character behind this much has none that anybody sees.
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
    const auto isInsideCharacter = [&] {
        return (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U;
    };
    for (int bytes = 0; bytes < 3 && isInsideCharacter(); ++bytes)
        --length;
    return std::string(name.substr(0, length)).append(ellipsis);
}

} // namespace vello
