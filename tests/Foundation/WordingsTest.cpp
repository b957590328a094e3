// SPDX-License-Identifier: Apache-2.0
// The translations as they are compiled in. scripts/checks/translations compares them with the sources.
#include "Foundation/Localization.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

namespace vello {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The string literal at the start of `text`, which is not interpreted; empty when there is none.
std::string_view literalAt(std::string_view text) {
    if (!text.starts_with('"'))
        return {};
    text.remove_prefix(1);
    return text.substr(0, text.find('"'));
}

std::multiset<char> placeholders(std::string_view text) {
    std::multiset<char> numbers;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '%')
            numbers.insert(text[i + 1]);
    return numbers;
}

TEST(WordingsTest, AreTheSameTextsInEveryLanguage) {
    std::set<std::string_view> german;
    for (const Wording& entry : wordings("de"))
        EXPECT_TRUE(german.insert(entry.english).second) << "twice: " << entry.english;
    EXPECT_GT(german.size(), 100U);
    for (const std::string_view language : languages()) {
        std::set<std::string_view> keys;
        for (const Wording& entry : wordings(language))
            keys.insert(entry.english);
        if (language == "en")
            EXPECT_TRUE(std::ranges::includes(german, keys));
        else
            EXPECT_EQ(keys, german) << language;
    }
    EXPECT_TRUE(wordings("xx").empty());
}

TEST(WordingsTest, KeepThePlaceholdersAndTheLinesOfTheirKeys) {
    for (const std::string_view language : languages())
        for (const auto& [english, wording] : wordings(language)) {
            EXPECT_EQ(placeholders(english), placeholders(wording)) << wording;
            EXPECT_EQ(std::ranges::count(english, '\n'), std::ranges::count(wording, '\n')) << wording;
            EXPECT_FALSE(wording.empty()) << english;
        }
}

/// Only proper names and numbers are the same in every language.
TEST(WordingsTest, LeaveNoTextOfTheViewsUntranslated) {
    const std::set<std::string_view> names{"VELLO", "VELLO by QUORVIN", "\\u221212"};
    int views = 0;
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(VELLO_SOURCE_FOLDER)) {
        if (file.path().extension() != ".qml")
            continue;
        const std::string content = contentOf(file);
        const std::string_view text = content;
        for (const std::string_view property : {"text: ", "label: ", "hint: ", "title: ", "detail: ",
                                                "placeholderText: ", "name: ", "description: "})
            for (auto place = text.find(property); place != text.npos;
                 place = text.find(property, place + 1)) {
                const bool isSymbol = property == "name: " && !text.substr(0, place).ends_with("Accessible.");
                const auto literal = isSymbol ? "" : literalAt(text.substr(place + property.size()));
                const bool hasLetters = std::ranges::any_of(
                    literal, [](unsigned char character) { return std::isalpha(character) != 0; });
                EXPECT_TRUE(!hasLetters || names.contains(literal)) << file << ": " << literal;
            }
        ++views;
    }
    EXPECT_GT(views, 20);
}

} // namespace
} // namespace vello
