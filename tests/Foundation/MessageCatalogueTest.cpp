// SPDX-License-Identifier: Apache-2.0
#include "Foundation/MessageCatalogue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vello {
namespace {

using namespace std::string_view_literals;

/// A file as msgfmt writes it, without a table of hashes.
class CatalogueFile {
public:
    explicit CatalogueFile(const std::map<std::string_view, std::string_view>& messages) {
        const std::size_t keys = 28;
        const std::size_t translations = keys + 8 * messages.size();
        for (const std::size_t each :
             {std::size_t{0x950412de}, std::size_t{0}, messages.size(), keys, translations})
            put(each);
        bytes_.resize(translations + 8 * messages.size());
        std::size_t entry = keys;
        for (const auto& [key, translation] : messages) {
            append(key, entry);
            append(translation, entry + translations - keys);
            entry += 8;
        }
    }

    MessageCatalogue catalogue() const {
        return {"xx", bytes_, [](std::size_t count) {
                    return count == 1 ? 0 : count < 5 ? std::size_t{1} : 2;
                }};
    }

private:
    void put(std::size_t number) {
        bytes_.resize(bytes_.size() + 4);
        putAt(bytes_.size() - 4, number);
    }
    void putAt(std::size_t place, std::size_t number) {
        for (std::size_t byte = 0; byte < 4; ++byte)
            bytes_[place + byte] = static_cast<unsigned char>(number >> 8 * byte);
    }
    void append(std::string_view text, std::size_t entry) {
        putAt(entry, text.size());
        putAt(entry + 4, bytes_.size());
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        bytes_.push_back(0);
    }

    std::vector<unsigned char> bytes_;
};

TEST(MessageCatalogueTest, FindsEveryKeyAndNoOther) {
    const CatalogueFile file({{"", "Language: xx\n"}, {"B", "b"}, {"BB", "bb"}, {"D", ""}, {"\u00dc", "ue"}});
    const MessageCatalogue catalogue = file.catalogue();
    EXPECT_EQ(catalogue.size(), 5U);
    EXPECT_EQ(catalogue.key(2), "BB");
    EXPECT_EQ(catalogue.header(), "Language: xx\n");
    EXPECT_EQ(catalogue.find("B"), "b");
    EXPECT_EQ(catalogue.find("BB"), "bb");
    EXPECT_EQ(catalogue.find("D"), "");
    EXPECT_EQ(catalogue.find("\u00dc"), "ue");
    for (const std::string_view missing : {"", "A", "BA", "BBB", "C", "b", "\u00dd"})
        EXPECT_EQ(catalogue.find(missing), std::nullopt) << missing;
}

TEST(MessageCatalogueTest, ChoosesTheFormOfThePlural) {
    const CatalogueFile file({{"", ""}, {"%1 file\0%1 files"sv, "one\0few\0many"sv}, {"Open", "open"}});
    const MessageCatalogue catalogue = file.catalogue();
    EXPECT_EQ(catalogue.key(1), "%1 file");
    EXPECT_EQ(catalogue.find("%1 file"), "one");
    EXPECT_EQ(catalogue.find("%1 file", 1), "one");
    EXPECT_EQ(catalogue.find("%1 file", 4), "few");
    EXPECT_EQ(catalogue.find("%1 file", 5), "many");
    EXPECT_EQ(catalogue.find("%1 files", 5), std::nullopt);
    EXPECT_EQ(catalogue.find("Open", 1), "open");
    EXPECT_EQ(catalogue.find("Open", 5), "") << "no such form";
}

TEST(MessageCatalogueTest, HasEveryLanguageInTheOrderOfTheNames) {
    ASSERT_GT(messageCatalogues().size(), 2U);
    std::string_view before;
    for (const MessageCatalogue& each : messageCatalogues()) {
        EXPECT_LT(before, each.language);
        EXPECT_NE(each.header().find("\nLanguage: " + std::string(each.language) + "\n"),
                  std::string_view::npos)
            << each.language;
        before = each.language;
    }
}

} // namespace
} // namespace vello
