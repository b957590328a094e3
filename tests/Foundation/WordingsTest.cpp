// SPDX-License-Identifier: Apache-2.0
// The translation tables contain exactly the texts that the sources use, in every language.
#include "Foundation/Localization.h"
#include "Models/EQPreset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vello {
namespace {

namespace fs = std::filesystem;
using Texts = std::set<std::string>;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<fs::path> sources(const std::set<std::string>& extensions) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(VELLO_SOURCE_FOLDER))
        if (extensions.contains(each.path().extension().string()))
            files.push_back(each.path());
    return files;
}

bool isWordCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\n")));
}

/// Removes and joins the adjacent string literals at the start of `text`; empty if there are none.
std::string takeLiterals(std::string_view& text) {
    std::string result;
    for (skipBlanks(text); text.starts_with('"'); skipBlanks(text)) {
        for (text.remove_prefix(1); !text.empty() && !text.starts_with('"'); text.remove_prefix(1)) {
            if (text.starts_with('\\')) {
                text.remove_prefix(1);
                result += text.starts_with('n') ? '\n' : text.starts_with('u') ? '?' : text.front();
                if (text.starts_with('u')) // skip four digits
                    text.remove_prefix(std::min<std::size_t>(text.size() - 1, 4));
            } else {
                result += text.front();
            }
        }
        text.remove_prefix(std::min<std::size_t>(text.size(), 1));
    }
    return result;
}

/// Collects the string literals passed as first argument to `function`.
void collectArguments(std::string_view text, std::string_view function, Texts& found) {
    for (auto place = text.find(function); place != text.npos; place = text.find(function, place + 1)) {
        if (place > 0 && isWordCharacter(text[place - 1]))
            continue;
        std::string_view rest = text.substr(place + function.size());
        if (!rest.starts_with('('))
            continue;
        rest.remove_prefix(1);
        if (std::string literal = takeLiterals(rest); !literal.empty())
            found.insert(std::move(literal));
    }
}

/// The keys of all texts in the program's windows.
Texts usedTexts() {
    Texts used;
    for (const fs::path& file : sources({".cpp", ".h", ".qml"})) {
        const std::string text = contentOf(file);
        collectArguments(text, "localized", used);
        collectArguments(text, "wordingKey", used);
        if (file.string().find("/UI/") != std::string::npos)
            for (const std::string_view function : {"qsTr", "tr", "text"})
                collectArguments(text, function, used);
    }
    for (const EQPreset preset : EQPreset::allCases())
        used.insert(preset.displayName());
    return used;
}

Texts keysOf(Language language) {
    Texts keys;
    for (const Wording& entry : wordings(language))
        EXPECT_TRUE(keys.emplace(entry.english).second) << "twice: " << entry.english;
    return keys;
}

std::multiset<char> placeholders(std::string_view text) {
    std::multiset<char> numbers;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '%')
            numbers.insert(text[i + 1]);
    return numbers;
}

TEST(WordingsTest, HaveEveryTextOfTheSourcesInEveryLanguageAndNoOther) {
    const Texts used = usedTexts();
    EXPECT_GT(used.size(), 50U);
    EXPECT_EQ(keysOf(Language::german), used);
    EXPECT_EQ(keysOf(Language::japanese), used);
    for (const std::string& key : keysOf(Language::english))
        EXPECT_TRUE(used.contains(key)) << key;
}

TEST(WordingsTest, KeepThePlaceholdersAndTheLinesOfTheirKeys) {
    for (const Language language : {Language::english, Language::german, Language::japanese})
        for (const auto& [english, wording] : wordings(language)) {
            EXPECT_EQ(placeholders(english), placeholders(wording)) << wording;
            EXPECT_EQ(std::ranges::count(english, '\n'), std::ranges::count(wording, '\n')) << wording;
            EXPECT_FALSE(wording.empty()) << english;
        }
}

/// Only proper names are the same in every language.
TEST(WordingsTest, LeaveNoTextOfTheViewsUntranslated) {
    const Texts names{"VELLO", "VELLO by QUORVIN"};
    int views = 0;
    for (const fs::path& file : sources({".qml"})) {
        const std::string text = contentOf(file);
        for (const std::string_view property : {"text: ", "label: ", "hint: ", "title: ", "detail: ",
                                                "placeholderText: ", "name: ", "description: "})
            for (auto place = text.find(property); place != text.npos;
                 place = text.find(property, place + 1)) {
                const bool isSymbol = property == "name: " && !text.substr(0, place).ends_with("Accessible.");
                std::string_view rest = std::string_view(text).substr(place + property.size());
                const std::string literal = isSymbol ? "" : takeLiterals(rest);
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
