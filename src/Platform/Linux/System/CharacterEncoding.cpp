// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/CharacterEncoding.h"

#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <string>
#include <string_view>

namespace vello {
namespace {

constexpr char kUTF8[] = "C.UTF-8";

/// Of the environment; false as well where it names a locale that is not installed.
bool isUTF8() {
    const locale_t locale = ::newlocale(LC_ALL_MASK, "", nullptr);
    if (!locale)
        return false;
    const bool result = std::string_view(::nl_langinfo_l(CODESET, locale)) == "UTF-8";
    ::freelocale(locale);
    return result;
}

/// LC_ALL overrules every other variable. LANG means the same as soon as no other is left.
void replaceOverruling(const std::string& locale) {
    for (const char* name : {"LC_ADDRESS", "LC_COLLATE", "LC_IDENTIFICATION", "LC_MEASUREMENT", "LC_MESSAGES",
                             "LC_MONETARY", "LC_NAME", "LC_NUMERIC", "LC_PAPER", "LC_TELEPHONE", "LC_TIME"})
        ::unsetenv(name);
    ::setenv("LANG", locale.c_str(), 1);
    ::unsetenv("LC_ALL");
}

} // namespace

void useUTF8() {
    if (isUTF8())
        return;
    const char* const overruling = std::getenv("LC_ALL");
    if (overruling && *overruling)
        replaceOverruling(overruling);
    ::setenv("LC_CTYPE", kUTF8, 1);
    // Where another category names a locale that is not installed, the toolkit's attempt to take over all of
    // them fails and leaves this one.
    ::setlocale(LC_CTYPE, kUTF8);
}

} // namespace vello
