// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/CharacterEncoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <map>
#include <string>

namespace vello {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Variables = std::map<std::string, std::string>;

/// Sets the locale variables of the environment to the given ones only, and restores the process's own
/// afterwards.
class CharacterEncodingTest : public testing::Test {
protected:
    CharacterEncodingTest() : before_(variables()) { replace({}); }
    ~CharacterEncodingTest() override {
        replace(before_);
        std::setlocale(LC_ALL, "C");
    }

    static Variables after(const Variables& given) {
        std::setlocale(LC_ALL, "C"); // the locale of a new process
        replace(given);
        useUTF8();
        return variables();
    }
    static std::string encoding() {
        std::setlocale(LC_ALL, "");
        return ::nl_langinfo(CODESET);
    }

private:
    static Variables variables() {
        Variables result;
        for (char** entry = ::environ; *entry; ++entry) {
            const std::string text = *entry;
            if (text.starts_with("LC_") || text.starts_with("LANG="))
                result[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
        }
        return result;
    }
    static void replace(const Variables& wanted) {
        for (const auto& [name, value] : variables())
            ::unsetenv(name.c_str());
        for (const auto& [name, value] : wanted)
            ::setenv(name.c_str(), value.c_str(), 1);
    }

    Variables before_;
};

TEST_F(CharacterEncodingTest, IsUTF8WhateverTheUserChose) {
    for (const Variables& given : {Variables{},
                                   {{"LANG", "C"}},
                                   {{"LC_ALL", "POSIX"}},
                                   {{"LANG", "C.UTF-8"}, {"LC_CTYPE", "C"}},
                                   {{"LC_ALL", "C"}, {"LC_CTYPE", "C.UTF-8"}},
                                   {{"LANG", "xx_XX.UTF-8"}},
                                   {{"LC_ALL", "xx_XX"}},
                                   {{"LANG", "C.UTF-8"}, {"LC_TIME", "xx_XX.UTF-8"}}}) {
        after(given);
        EXPECT_EQ(encoding(), "UTF-8") << testing::PrintToString(given);
    }
}

TEST_F(CharacterEncodingTest, LeavesALocaleThatIsOfUTF8) {
    EXPECT_THAT(after({{"LC_ALL", "C.UTF-8"}, {"LANG", "C"}}),
                UnorderedElementsAre(Pair("LC_ALL", "C.UTF-8"), Pair("LANG", "C")));
    EXPECT_THAT(after({{"LANG", "C.UTF-8"}}), UnorderedElementsAre(Pair("LANG", "C.UTF-8")));
}

TEST_F(CharacterEncodingTest, LeavesWhatTheOtherCategoriesMean) {
    EXPECT_THAT(
        after({{"LANG", "C"}, {"LC_MESSAGES", "POSIX"}}),
        UnorderedElementsAre(Pair("LANG", "C"), Pair("LC_MESSAGES", "POSIX"), Pair("LC_CTYPE", "C.UTF-8")));
    EXPECT_THAT(after({{"LC_ALL", "C"}, {"LANG", "C.UTF-8"}, {"LC_MESSAGES", "C.UTF-8"}}),
                UnorderedElementsAre(Pair("LANG", "C"), Pair("LC_CTYPE", "C.UTF-8")));
}

} // namespace
} // namespace vello
