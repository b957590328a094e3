// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"

#include "Models/EQPreset.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

namespace vello {
namespace {

Language preferredWith(std::map<std::string, std::string> variables) {
    return preferredLanguage([&variables](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? nullptr : found->second.c_str();
    });
}

class LocalizationTest : public testing::Test {
protected:
    ~LocalizationTest() override { setLanguage(Language::english); }
};

TEST_F(LocalizationTest, AnswersTheEnglishTextWhereThereIsNoOther) {
    EXPECT_EQ(localized("Automatic"), "Automatic");
    EXPECT_EQ(localized(""), "");
}

TEST_F(LocalizationTest, RewordsEveryTextThatNamesAnotherSystem) {
    EXPECT_EQ(localized("Audio stays on your Mac"), "Audio stays on your computer");
    EXPECT_FALSE(wordings(Language::english).empty());
    for (const Language language : {Language::english, Language::german, Language::japanese}) {
        setLanguage(language);
        for (const Wording& entry : wordings(language)) {
            EXPECT_EQ(localized(entry.english), entry.wording);
            EXPECT_EQ(entry.wording.find("Mac"), std::string_view::npos) << entry.wording;
            EXPECT_EQ(entry.wording.find("mac"), std::string_view::npos) << entry.wording;
        }
    }
}

TEST_F(LocalizationTest, NamesTheCommandThatChangesADeniedConsentInEveryLanguage) {
    for (const Language language : {Language::english, Language::german, Language::japanese}) {
        setLanguage(language);
        EXPECT_NE(localized("Enable VELLO under Screen & System Audio Recording, then come back.")
                      .find("vello permission allow"),
                  std::string::npos);
    }
}

TEST_F(LocalizationTest, SpeaksTheLanguageThatWasSet) {
    setLanguage(Language::german);
    EXPECT_EQ(localized("Automatic"), "Automatisch");
    EXPECT_EQ(EQPreset(EQPreset::vocal).displayName(), "Stimme");
    setLanguage(Language::japanese);
    EXPECT_EQ(localized("Automatic"), "自動");
    EXPECT_EQ(EQPreset(EQPreset::vocal).displayName(), "ボーカル");
}

TEST_F(LocalizationTest, PutsTheArgumentInItsPlace) {
    EXPECT_EQ(localized("%1 decibels", "-12"), "-12 decibels");
    setLanguage(Language::german);
    EXPECT_EQ(localized("Process %1", "%1"), "Prozess %1");
    EXPECT_EQ(localized("Automatic", "unused"), "Automatisch");
}

TEST_F(LocalizationTest, TakesTheLanguageFromTheLocaleOfMessages) {
    EXPECT_EQ(preferredWith({{"LANG", "de_AT.UTF-8"}}), Language::german);
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LC_MESSAGES", "ja_JP.eucJP"}}), Language::japanese);
    EXPECT_EQ(preferredWith({{"LC_ALL", "de@euro"}, {"LC_MESSAGES", "ja_JP"}}), Language::german);
    EXPECT_EQ(preferredWith({{"LC_ALL", ""}, {"LANG", "ja"}}), Language::japanese);
    EXPECT_EQ(preferredWith({{"LANG", "den_CA"}}), Language::english);
    EXPECT_EQ(preferredWith({}), Language::english);
}

TEST_F(LocalizationTest, TakesTheFirstLanguageOfTheUsersListThatItHas) {
    EXPECT_EQ(preferredWith({{"LANG", "en_US"}, {"LANGUAGE", "fr:ja:de"}}), Language::japanese);
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LANGUAGE", "fr::en_GB"}}), Language::english);
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LANGUAGE", "fr:"}}), Language::german);
    EXPECT_EQ(preferredWith({{"LANG", "C"}, {"LANGUAGE", "de"}}), Language::english);
}

} // namespace
} // namespace vello
