// SPDX-License-Identifier: Apache-2.0
#include "Foundation/MessageCatalogue.h"

#include <algorithm>
#include <ranges>

namespace vello {
namespace {

// Where the header of the file has its numbers, in bytes.
constexpr std::size_t kCountPlace = 8;
constexpr std::size_t kKeysPlace = 12;
constexpr std::size_t kTranslationsPlace = 16;
/// A table has the length and the place of each text.
constexpr std::size_t kEntrySize = 8;

std::string_view untilZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

} // namespace

std::size_t MessageCatalogue::number(std::size_t place) const noexcept {
    std::size_t result = 0;
    for (std::size_t byte = 4; byte > 0; --byte)
        result = result << 8U | bytes[place + byte - 1];
    return result;
}

std::string_view MessageCatalogue::text(std::size_t table, std::size_t index) const noexcept {
    const std::size_t entry = number(table) + index * kEntrySize;
    const auto text = bytes.subspan(number(entry + 4), number(entry));
    return {reinterpret_cast<const char*>(text.data()), text.size()};
}

std::size_t MessageCatalogue::size() const noexcept {
    return number(kCountPlace);
}

std::string_view MessageCatalogue::key(std::size_t index) const noexcept {
    return untilZero(text(kKeysPlace, index)); // the English plural follows it
}

std::string_view MessageCatalogue::translation(std::size_t index) const noexcept {
    return text(kTranslationsPlace, index);
}

std::optional<std::size_t> MessageCatalogue::indexOf(std::string_view key) const noexcept {
    // The keys are sorted by their bytes.
    const auto indices = std::views::iota(kFirstMessage, size());
    const auto found =
        std::ranges::lower_bound(indices, key, {}, [this](std::size_t index) { return this->key(index); });
    if (found == indices.end() || this->key(*found) != key)
        return std::nullopt;
    return *found;
}

std::optional<std::string_view> MessageCatalogue::find(std::string_view key) const noexcept {
    const auto index = indexOf(key);
    return index ? std::optional(untilZero(translation(*index))) : std::nullopt;
}

std::optional<std::string_view> MessageCatalogue::find(std::string_view key,
                                                       std::size_t count) const noexcept {
    const auto index = indexOf(key);
    if (!index)
        return std::nullopt;
    std::string_view forms = translation(*index);
    for (std::size_t left = form(count); left > 0; --left)
        forms.remove_prefix(std::min(forms.size(), untilZero(forms).size() + 1));
    return untilZero(forms);
}

} // namespace vello
