// SPDX-License-Identifier: Apache-2.0
#include "Models/Localization.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace vello {
namespace {

TEST(LocalizationTest, AnswersTheEnglishTextWhereThereIsNoOther) {
    EXPECT_EQ(localized("Automatic"), "Automatic");
    EXPECT_EQ(localized(""), "");
}

TEST(LocalizationTest, RewordsEveryTextThatNamesAnotherSystem) {
    EXPECT_EQ(localized("Audio stays on your Mac"), "Audio stays on your computer");
    std::set<std::string_view> keys;
    for (const SystemWording& entry : systemWordings()) {
        EXPECT_TRUE(keys.insert(entry.english).second) << "twice: " << entry.english;
        EXPECT_EQ(localized(entry.english), entry.wording);
        EXPECT_EQ(entry.wording.find("Mac"), std::string_view::npos) << entry.wording;
        EXPECT_EQ(entry.wording.find("mac"), std::string_view::npos) << entry.wording;
    }
    EXPECT_FALSE(keys.empty());
}

TEST(LocalizationTest, NamesTheCommandThatChangesADeniedConsent) {
    EXPECT_NE(localized("Enable VELLO under Screen & System Audio Recording, then come back.")
                  .find("vello permission allow"),
              std::string::npos);
}

} // namespace
} // namespace vello
