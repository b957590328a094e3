// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"

#include "Wordings.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>

namespace vello {
namespace {

std::atomic<Language> languageInUse = Language::english;

std::optional<Language> languageOf(std::string_view locale) {
    constexpr std::array codes{std::pair{std::string_view("en"), Language::english},
                               std::pair{std::string_view("de"), Language::german},
                               std::pair{std::string_view("ja"), Language::japanese}};
    const std::string_view code = locale.substr(0, locale.find_first_of("_.@"));
    const auto* const found = std::ranges::find(codes, code, &decltype(codes)::value_type::first);
    return found == codes.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

std::span<const Wording> wordings(Language language) {
    switch (language) {
    case Language::german:
        return germanWordings();
    case Language::japanese:
        return japaneseWordings();
    case Language::english:
        break;
    }
    return linuxWordings();
}

std::string messagesLocale(const Environment& environment) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = environment(name); value != nullptr && *value != '\0')
            return value;
    return "";
}

Language preferredLanguage(const Environment& environment) {
    const std::string locale = messagesLocale(environment);
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return Language::english;
    const char* const list = environment("LANGUAGE");
    std::string_view languages = list == nullptr ? "" : list;
    while (!languages.empty()) {
        const std::string_view each = languages.substr(0, languages.find(':'));
        if (const auto language = languageOf(each))
            return *language;
        languages.remove_prefix(std::min(languages.size(), each.size() + 1));
    }
    return languageOf(locale).value_or(Language::english);
}

void setLanguage(Language language) noexcept {
    languageInUse.store(language, std::memory_order_relaxed);
}

std::string localized(std::string_view english) {
    const auto known = wordings(languageInUse.load(std::memory_order_relaxed));
    const auto found = std::ranges::find(known, english, &Wording::english);
    return std::string(found == known.end() ? english : found->wording);
}

std::string localized(std::string_view english, std::string_view argument) {
    std::string text = localized(english);
    if (const auto place = text.find("%1"); place != std::string::npos)
        text.replace(place, 2, argument);
    return text;
}

} // namespace vello
