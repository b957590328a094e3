// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Environment.h"

#include <span>
#include <string>
#include <string_view>

namespace vello {

/// The languages of the user interface.
enum class Language { english, german, japanese };

/// The wording of one text in one language on this system.
struct Wording {
    std::string_view english; ///< the key
    std::string_view wording;
};

/// Every text of a language. English has entries only for texts whose key names something of another system.
std::span<const Wording> wordings(Language language);

/// The locale of messages, such as "de_DE.UTF-8"; empty when it is not set.
std::string messagesLocale(const Environment& environment);

/// The first of the user's languages that is supported, else English. LANGUAGE ("ja:de_AT:en") takes
/// precedence over the locale of messages, except that the locales "C" and "POSIX" always mean English.
Language preferredLanguage(const Environment& environment);

/// Sets the language of all later calls of localized(); English until then. Call it at startup: texts already
/// on screen do not change. Any thread.
void setLanguage(Language language) noexcept;

/// Marks a text that is looked up later, where it is shown; it needs an entry in every table, too.
constexpr std::string_view wordingKey(std::string_view english) noexcept {
    return english;
}

/// Returns a text in the user's language. The English text is the key, and the result when there is no
/// translation. Every text in a window passes through here. Any thread.
std::string localized(std::string_view english);
/// The same with "%1" replaced by `argument`.
std::string localized(std::string_view english, std::string_view argument);

} // namespace vello
