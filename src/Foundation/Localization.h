// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Environment.h"

#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// The languages of the user interface, as gettext names them ("de", "pt_BR"), in the order of their names.
/// The texts of the sources are in "en".
std::vector<std::string_view> languages();

/// The wording of one text in one language.
struct Wording {
    std::string_view english; ///< the key; of a text with a plural, the singular
    std::string_view wording; ///< of a text with a plural, the first form
};

/// Every text of a language. English has entries only for texts whose key names something of another system.
/// Empty for a language that is not one of languages().
std::vector<Wording> wordings(std::string_view language);

/// The locale of messages, such as "de_DE.UTF-8"; empty when it is not set.
std::string messagesLocale(const Environment& environment);

/// The first of the user's languages that is supported, else "en". LANGUAGE ("ja:de_AT:en") takes precedence
/// over the locale of messages, except that the locales "C" and "POSIX" always mean English. A language that
/// is written differently from country to country is taken only for its own: no Simplified Chinese for
/// Taiwan.
std::string_view preferredLanguage(const Environment& environment);

/// Sets the language of all later calls of localized() to one of languages(); English until then. Call it at
/// startup: texts already on screen do not change. Any thread.
void setLanguage(std::string_view language) noexcept;

/// Whether that language is written from right to left.
bool isLanguageRightToLeft();

/// Marks a text that is looked up later, where it is shown; it needs a translation, too.
constexpr std::string_view wordingKey(std::string_view english) noexcept {
    return english;
}

/// Returns a text in the user's language. The English text is the key, and the result when there is no
/// translation. Every text in a window passes through here. `context` is only for an English text that needs
/// two translations, and distinguishes them. Any thread.
std::string localized(std::string_view english);
std::string localized(std::string_view english, std::string_view argument); ///< replaces "%1" by `argument`
std::string localizedInContext(std::string_view context, std::string_view english);

/// Returns the form of a text that goes with `count`, which replaces "%1". Languages have one to six such
/// forms; `singular`, the key, and `plural` are the English ones.
std::string localizedPlural(std::string_view singular, std::string_view plural, std::size_t count);

/// Returns a text in one of languages(), whatever the user's is.
std::string localizedIn(std::string_view language, std::string_view english);

} // namespace vello
