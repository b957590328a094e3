// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"

#include "Models/EQPreset.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

namespace vello {
namespace {

std::string_view preferredWith(std::map<std::string, std::string> variables) {
    return preferredLanguage([&variables](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? nullptr : found->second.c_str();
    });
}

class LocalizationTest : public testing::Test {
protected:
    ~LocalizationTest() override { setLanguage("en"); }
};

TEST_F(LocalizationTest, AnswersTheEnglishTextWhereThereIsNoOther) {
    EXPECT_EQ(localized("Automatic"), "Automatic");
    EXPECT_EQ(localized(""), "");
}

TEST_F(LocalizationTest, RewordsEveryTextThatNamesAnotherSystem) {
    EXPECT_EQ(localized("Audio stays on your Mac"), "Audio stays on your computer");
    EXPECT_FALSE(wordings("en").empty());
    for (const std::string_view language : languages()) {
        setLanguage(language);
        for (const Wording& entry : wordings(language)) {
            EXPECT_EQ(localized(entry.english), entry.wording);
            EXPECT_EQ(entry.wording.find("Mac"), std::string_view::npos) << entry.wording;
            EXPECT_EQ(entry.wording.find("macOS"), std::string_view::npos) << entry.wording;
        }
    }
}

TEST_F(LocalizationTest, NamesTheCommandThatChangesADeniedConsentInEveryLanguage) {
    for (const std::string_view language : languages()) {
        setLanguage(language);
        EXPECT_NE(localized("Enable VELLO under Screen & System Audio Recording, then come back.")
                      .find("vello permission allow"),
                  std::string::npos);
    }
}

TEST_F(LocalizationTest, SpeaksTheLanguageThatWasSet) {
    setLanguage("de");
    EXPECT_EQ(localized("Automatic"), "Automatisch");
    EXPECT_EQ(EQPreset(EQPreset::vocal).displayName(), "Stimme");
    setLanguage("ja");
    EXPECT_EQ(localized("Automatic"), "自動");
    EXPECT_EQ(EQPreset(EQPreset::vocal).displayName(), "ボーカル");
}

TEST_F(LocalizationTest, PutsTheArgumentInItsPlace) {
    EXPECT_EQ(localized("%1 decibels", "-12"), "-12 decibels");
    setLanguage("de");
    EXPECT_EQ(localized("Process %1", "%1"), "Prozess %1");
    EXPECT_EQ(localized("Automatic", "unused"), "Automatisch");
}

TEST_F(LocalizationTest, TakesTheFormOfAPlural) {
    const auto presets = [](std::size_t count) {
        return localizedPlural("The file holds %1 preset.", "The file holds %1 presets.", count);
    };
    EXPECT_EQ(presets(1), "The file holds 1 preset.");
    EXPECT_EQ(presets(2), "The file holds 2 presets.");
    EXPECT_EQ(localizedPlural("%1 thing", "%1 things", 0), "0 things");
    setLanguage("de");
    EXPECT_EQ(presets(1), "Die Datei enthält 1 Preset.");
    EXPECT_EQ(presets(1000), "Die Datei enthält 1000 Presets.");
    setLanguage("ja");
    EXPECT_EQ(presets(1), "ファイルには1個のプリセットがあります。");
    setLanguage("pl");
    EXPECT_EQ(presets(1), "Plik zawiera 1 preset.");
    EXPECT_EQ(presets(22), "Plik zawiera 22 presety.");
    EXPECT_EQ(presets(12), "Plik zawiera 12 presetów.");
    setLanguage("ar");
    EXPECT_EQ(presets(3), "في الملف 3 إعدادات مسبقة.");
    EXPECT_EQ(presets(11), "في الملف 11 إعدادًا مسبقًا.");
    EXPECT_EQ(presets(100), "في الملف 100 إعداد مسبق.");
}

TEST_F(LocalizationTest, AnswersTheEnglishTextInAContextThatHasNoTranslation) {
    setLanguage("de");
    EXPECT_EQ(localizedInContext("of a shelf", "Flat"), "Flat");
}

TEST_F(LocalizationTest, TellsWhereALanguageBegins) {
    EXPECT_FALSE(isLanguageRightToLeft());
    setLanguage("ar");
    EXPECT_TRUE(isLanguageRightToLeft());
    setLanguage("zh_CN");
    EXPECT_FALSE(isLanguageRightToLeft());
}

TEST_F(LocalizationTest, AnswersInALanguageThatIsNotTheUsers) {
    EXPECT_EQ(localizedIn("de", "Automatic"), "Automatisch");
    EXPECT_EQ(localizedIn("en", "Automatic"), "Automatic");
    EXPECT_EQ(localizedIn("xx", "Automatic"), "Automatic");
    EXPECT_EQ(localized("Automatic"), "Automatic");
}

TEST_F(LocalizationTest, TakesTheLanguageFromTheLocaleOfMessages) {
    EXPECT_EQ(preferredWith({{"LANG", "de_AT.UTF-8"}}), "de");
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LC_MESSAGES", "ja_JP.eucJP"}}), "ja");
    EXPECT_EQ(preferredWith({{"LC_ALL", "de@euro"}, {"LC_MESSAGES", "ja_JP"}}), "de");
    EXPECT_EQ(preferredWith({{"LC_ALL", ""}, {"LANG", "ja"}}), "ja");
    EXPECT_EQ(preferredWith({{"LANG", "den_CA"}}), "en");
    EXPECT_EQ(preferredWith({{"LANG", "ar_EG.UTF-8"}}), "ar");
    EXPECT_EQ(preferredWith({{"LANG", "es_MX.UTF-8"}}), "es");
    EXPECT_EQ(preferredWith({}), "en");
}

TEST_F(LocalizationTest, TakesALanguageOfACountryOnlyForThatOne) {
    EXPECT_EQ(preferredWith({{"LANG", "pt_BR.UTF-8"}}), "pt_BR");
    EXPECT_EQ(preferredWith({{"LANG", "pt_PT.UTF-8"}}), "en");
    EXPECT_EQ(preferredWith({{"LANG", "pt_PT.UTF-8"}, {"LANGUAGE", "pt_PT:pt"}}), "pt_BR");
    EXPECT_EQ(preferredWith({{"LANG", "zh_CN.GB18030"}}), "zh_CN");
    EXPECT_EQ(preferredWith({{"LANG", "zh_TW.UTF-8"}}), "en");
}

TEST_F(LocalizationTest, TakesTheFirstLanguageOfTheUsersListThatItHas) {
    EXPECT_EQ(preferredWith({{"LANG", "en_US"}, {"LANGUAGE", "da:ja:de"}}), "ja");
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LANGUAGE", "da::en_GB"}}), "en");
    EXPECT_EQ(preferredWith({{"LANG", "de_DE"}, {"LANGUAGE", "da:"}}), "de");
    EXPECT_EQ(preferredWith({{"LANG", "C"}, {"LANGUAGE", "de"}}), "en");
}

} // namespace
} // namespace vello
