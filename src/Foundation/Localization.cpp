// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"

#include "Foundation/MessageCatalogue.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <unicode/locid.h>

namespace vello {
namespace {

constexpr std::string_view kEnglish = "en";

std::atomic<const MessageCatalogue*> catalogueInUse =
    nullptr; ///< null: English before the first setLanguage()

const MessageCatalogue* catalogueOf(std::string_view language) noexcept {
    const auto known = messageCatalogues();
    const auto found = std::ranges::find(known, language, &MessageCatalogue::language);
    return found == known.end() ? nullptr : &*found;
}

const MessageCatalogue& catalogue() noexcept {
    const MessageCatalogue* const inUse = catalogueInUse.load(std::memory_order_relaxed);
    return inUse ? *inUse : *catalogueOf(kEnglish);
}

std::string_view withoutCountry(std::string_view language) {
    return language.substr(0, language.find('_'));
}

/// The supported language of a locale such as "de_AT.UTF-8@euro". A locale without a country takes the
/// language of any country.
std::optional<std::string_view> languageOf(std::string_view locale) {
    const std::string_view wanted = locale.substr(0, locale.find_first_of(".@"));
    const std::string_view alone = withoutCountry(wanted);
    for (const std::string_view candidate : {wanted, alone})
        if (const MessageCatalogue* const found = catalogueOf(candidate))
            return found->language;
    if (wanted == alone)
        for (const std::string_view language : languages())
            if (withoutCountry(language) == alone)
                return language;
    return std::nullopt;
}

std::string withArgument(std::string text, std::string_view argument) {
    if (const auto place = text.find("%1"); place != std::string::npos)
        text.replace(place, 2, argument);
    return text;
}

} // namespace

std::vector<std::string_view> languages() {
    std::vector<std::string_view> result;
    for (const MessageCatalogue& each : messageCatalogues())
        result.push_back(each.language);
    return result;
}

std::vector<Wording> wordings(std::string_view language) {
    std::vector<Wording> result;
    const MessageCatalogue* const known = catalogueOf(language);
    for (auto index = MessageCatalogue::kFirstMessage; known && index < known->size(); ++index)
        result.push_back({known->key(index), *known->find(known->key(index))});
    return result;
}

std::string messagesLocale(const Environment& environment) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = environment(name); value != nullptr && *value != '\0')
            return value;
    return "";
}

std::string_view preferredLanguage(const Environment& environment) {
    const std::string locale = messagesLocale(environment);
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return kEnglish;
    const char* const list = environment("LANGUAGE");
    std::string_view preferred = list == nullptr ? "" : list;
    while (!preferred.empty()) {
        const std::string_view each = preferred.substr(0, preferred.find(':'));
        if (const auto language = languageOf(each))
            return *language;
        preferred.remove_prefix(std::min(preferred.size(), each.size() + 1));
    }
    return languageOf(locale).value_or(kEnglish);
}

void setLanguage(std::string_view language) noexcept {
    catalogueInUse.store(catalogueOf(language), std::memory_order_relaxed);
}

bool isLanguageRightToLeft() {
    return icu::Locale(std::string(catalogue().language).c_str()).isRightToLeft() != 0;
}

std::string localized(std::string_view english) {
    return std::string(catalogue().find(english).value_or(english));
}

std::string localized(std::string_view english, std::string_view argument) {
    return withArgument(localized(english), argument);
}

std::string localizedInContext(std::string_view context, std::string_view english) {
    const std::string key = std::string(context).append(1, MessageCatalogue::kContextEnd).append(english);
    return std::string(catalogue().find(key).value_or(english));
}

std::string localizedPlural(std::string_view singular, std::string_view plural, std::size_t count) {
    const std::string_view english = count == 1 ? singular : plural;
    return withArgument(std::string(catalogue().find(singular, count).value_or(english)),
                        std::to_string(count));
}

std::string localizedIn(std::string_view language, std::string_view english) {
    const MessageCatalogue* const known = catalogueOf(language);
    return std::string(known ? known->find(english).value_or(english) : english);
}

} // namespace vello
