// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace vello {

/// The languages that there are texts in.
enum class Language { english, german, japanese };

/// What a text reads as in a language and on this system.
struct Wording {
    std::string_view english; ///< the key
    std::string_view wording;
};

/// Of English, the texts that name a place or a machine of another system; of any other language every text.
std::span<const Wording> wordings(Language language);

/// Looks a variable of the environment up; null when it is not set.
using EnvironmentLookup = std::function<const char*(const char* name)>;

/// The locale of messages, such as "de_DE.UTF-8"; empty when none is set.
std::string messagesLocale(const EnvironmentLookup& environment);

/// The first of the user's languages that there are texts in, English when there is none: LANGUAGE
/// ("ja:de_AT:en") comes before the locale of messages, but with the locales "C" and "POSIX" nobody asks for
/// a language.
Language preferredLanguage(const EnvironmentLookup& environment);

/// The language of every text from now on; English until then. Belongs to the start of a program: a text that
/// is shown already stays. Any thread.
void setLanguage(Language language) noexcept;

/// Text for the user in the user's language. The English text is the key, and the answer where there is no
/// other. Every text that people read in a window passes through here. Any thread.
std::string localized(std::string_view english);
/// The same with `argument` in the place of "%1".
std::string localized(std::string_view english, std::string_view argument);

} // namespace vello
