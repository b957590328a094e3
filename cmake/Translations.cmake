# SPDX-License-Identifier: Apache-2.0
# Writes the C++ source that holds the translations, so that the program needs no file for them when it runs:
# cmake -DFOLDER=... -DLANGUAGES=... -DOUTPUT=... -P Translations.cmake. FOLDER has what msgfmt made of each language.
set(catalogues "")
set(list "")
foreach(language IN LISTS LANGUAGES)
    # The header is text, one field a line. Its expression for the plural is one of C.
    file(STRINGS ${FOLDER}/${language}.mo fields REGEX "^Plural-Forms: ")
    if(NOT fields MATCHES "plural=([n0-9 ()?:%=!<>&|]+)\\\\?;")
        message(FATAL_ERROR "po/${language}.po has no usable Plural-Forms.")
    endif()
    set(form ${CMAKE_MATCH_1})
    file(READ ${FOLDER}/${language}.mo bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND catalogues "constexpr unsigned char ${language}[] = {${bytes}};\n")
    string(APPEND list "    {\"${language}\", ${language}, [](std::size_t n) -> std::size_t { return ${form}; }},\n")
endforeach()
file(WRITE ${OUTPUT} "// Made from po/ by msgfmt and cmake/Translations.cmake.
#include \"Foundation/MessageCatalogue.h\"

namespace vello {
namespace {

${catalogues}
constexpr MessageCatalogue kCatalogues[] = {
${list}};

} // namespace

std::span<const MessageCatalogue> messageCatalogues() {
    return kCatalogues;
}

} // namespace vello
")
