// SPDX-License-Identifier: Apache-2.0
#include "Models/SettingsCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

namespace vello {
namespace {

EQSettings decoded(std::string_view text) {
    return decodeSettings(parseJSON(text));
}

std::string encoded(const auto& value, JSONLayout layout = JSONLayout::compact) {
    return writeJSON(encode(value), layout);
}

rc::Gen<double> finiteNumber() {
    const auto anyBits = rc::gen::map(rc::gen::arbitrary<std::uint64_t>(),
                                      [](std::uint64_t bits) { return std::bit_cast<double>(bits); });
    return rc::gen::suchThat(rc::gen::oneOf(anyBits, rc::gen::arbitrary<double>()),
                             [](double number) { return std::isfinite(number); });
}

/// Text with arbitrary characters, including control characters and characters outside the basic plane.
rc::Gen<std::string> utf8Text() {
    const auto character = rc::gen::element<std::string>("a", "Z", "\"", "\\", "/", "\n", "\x01", "\x7f", "ä",
                                                         "\u2028", "日", "🎧", std::string(1, '\0'));
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(character), [](const auto& characters) {
        std::string text;
        for (const std::string& each : characters)
            text += each;
        return text;
    });
}

rc::Gen<EQSettings> anySettings() {
    return rc::gen::build<EQSettings>(
        rc::gen::set(&EQSettings::bandGains, rc::gen::container<std::vector<double>>(finiteNumber())),
        rc::gen::set(&EQSettings::isBypassed), rc::gen::set(&EQSettings::downmixesSurround),
        rc::gen::set(&EQSettings::volume, finiteNumber()),
        rc::gen::set(&EQSettings::outputDeviceUID,
                     rc::gen::oneOf(rc::gen::just(std::optional<std::string>()),
                                    rc::gen::map(utf8Text(), [](std::string text) {
                                        return std::optional(std::move(text));
                                    }))));
}

RC_GTEST_PROP(SettingsCodingProperty, SettingsReadBackAsTheyWereWritten, ()) {
    const EQSettings settings = *anySettings();
    RC_ASSERT(decoded(encoded(settings)) == settings);
    RC_ASSERT(decoded(encoded(settings, JSONLayout::prettySorted)) == settings);
}

RC_GTEST_PROP(SettingsCodingProperty, PresetsReadBackAsTheyWereWritten, ()) {
    const UserEQPreset preset{*utf8Text(), *rc::gen::container<std::vector<double>>(finiteNumber())};
    RC_ASSERT(decodeUserPreset(parseJSON(encoded(preset))) == preset);
}

RC_GTEST_PROP(SettingsCodingProperty, AnyBytesEitherParseOrFailWithATypedError, ()) {
    const auto bytes = *rc::gen::container<std::string>(rc::gen::element(
        '{', '}', '[', ']', '"', '\\', 'u', 'd', '8', '0', '1', ',', ':', '\xff', '\xc3', '\0', 'e'));
    try {
        (void)decoded(bytes);
    } catch (const CodingError& error) {
        RC_ASSERT(!std::string_view(error.what()).empty());
    }
}

TEST(SettingsCodingTest, WritesTheFieldsInTheirOrderAndNoDeviceWhenThereIsNone) {
    EXPECT_EQ(encoded(EQSettings{}), R"({"bandGains":[0,0,0,0,0,0,0,0],"isBypassed":false,"volume":1})");
    EQSettings settings;
    settings.outputDeviceUID = "usb";
    settings.bandGains = {0.1};
    EXPECT_EQ(encoded(settings),
              R"({"bandGains":[0.1],"isBypassed":false,"volume":1,"outputDeviceUID":"usb"})");
    EQSettings downmixed;
    downmixed.downmixesSurround = true;
    EXPECT_EQ(encoded(downmixed),
              R"({"bandGains":[0,0,0,0,0,0,0,0],"isBypassed":false,"volume":1,"downmixesSurround":true})");
    EXPECT_EQ(encoded(UserEQPreset{"Rock", {-3.5}}), R"({"name":"Rock","bandGains":[-3.5]})");
}

TEST(SettingsCodingTest, WritesNumbersInTheirShortestExactForm) {
    // 2^53 - 1, 1e23 and similar numbers reveal a writer that is not always shortest.
    for (const auto& [number, text] : {std::pair{0.1, "0.1"},
                                       {1e23, "1e+23"},
                                       {9007199254740991.0, "9007199254740991"},
                                       {5e-324, "5e-324"},
                                       {1.7976931348623157e308, "1.7976931348623157e+308"}}) {
        EXPECT_EQ(writeJSON(nlohmann::ordered_json(number), JSONLayout::compact), text);
    }
}

TEST(SettingsCodingTest, SortsKeysByTheirBytesAndIndentsWhenPretty) {
    const nlohmann::ordered_json value{{"é", 1},
                                       {"b", nlohmann::ordered_json::array()},
                                       {"a", {{"z", true}, {"Z", nullptr}}},
                                       {"B", {1, 2}}};
    EXPECT_EQ(writeJSON(value, JSONLayout::prettySorted), R"({
  "B": [
    1,
    2
  ],
  "a": {
    "Z": null,
    "z": true
  },
  "b": [],
  "é": 1
})");
}

TEST(SettingsCodingTest, MissingAndNullMembersHaveTheirDefaults) {
    EXPECT_EQ(decoded("{}"), EQSettings{});
    EXPECT_EQ(
        decoded(
            R"({"bandGains":null,"isBypassed":null,"volume":null,"outputDeviceUID":null,"downmixesSurround":null})"),
        EQSettings{});
    EXPECT_EQ(decoded(R"({"unknown":{"deep":[1]},"BandGains":[1]})"), EQSettings{});
}

TEST(SettingsCodingTest, KeepsGainsWhateverTheirNumber) {
    EXPECT_EQ(decoded(R"({"bandGains":[]})").bandGains, std::vector<double>{});
    EXPECT_EQ(decoded(R"({"bandGains":[1,2.5,-3e1]})").bandGains, (std::vector<double>{1, 2.5, -30}));
    EXPECT_EQ(decoded(R"({"volume":100})").volume, 100.0);
}

class WrongSettings : public testing::TestWithParam<const char*> {};

TEST_P(WrongSettings, FailAsAWhole) {
    EXPECT_THROW((void)decoded(GetParam()), CodingError);
}

INSTANTIATE_TEST_SUITE_P(SettingsCodingTest, WrongSettings,
                         testing::Values(R"({"volume":"loud"})", R"({"volume":true})", R"({"volume":[1]})",
                                         R"({"isBypassed":0})", R"({"isBypassed":"false"})",
                                         R"({"bandGains":1})", R"({"bandGains":{}})",
                                         R"({"bandGains":[null]})", R"({"bandGains":[0,true]})",
                                         R"({"bandGains":["0"]})", R"({"outputDeviceUID":7})",
                                         R"({"outputDeviceUID":false})", R"({"downmixesSurround":1})",
                                         R"({"downmixesSurround":"true"})", "[]", "null", "7", "\"{}\""));

TEST(SettingsCodingTest, APresetNeedsBothItsMembers) {
    const auto decode = [](std::string_view text) { return decodeUserPreset(parseJSON(text)); };
    EXPECT_EQ(decode(R"({"bandGains":[1],"name":"","more":0})"), (UserEQPreset{"", {1}}));
    for (const char* text : {R"({"name":"x"})", R"({"bandGains":[]})", R"({"name":null,"bandGains":[]})",
                             R"({"name":"x","bandGains":null})", R"({"name":1,"bandGains":[]})",
                             R"({"name":"x","bandGains":"y"})", "[]", "{}"})
        EXPECT_THROW((void)decode(text), CodingError) << text;
}

class NotJSON : public testing::TestWithParam<std::string> {};

TEST_P(NotJSON, IsATypedError) {
    EXPECT_THROW((void)parseJSON(GetParam()), CodingError);
}

INSTANTIATE_TEST_SUITE_P(SettingsCodingTest, NotJSON,
                         testing::Values("", " ", "{", "{}x", "{}{}", "{'a':1}", "{\"a\":1,}", "[01]", "nul",
                                         "NaN", "1e999", "// comment\n{}", "\"\xff\"", "\"\xc3\"",
                                         "\"\xed\xa0\x80\"", "\"\xc0\x80\"", R"("\ud800")", R"("\udc00x")",
                                         R"("\ud800\u0041")", "\"tab\tinside\"", std::string("{}\0", 3),
                                         std::string("\0{}", 3), "\xff\xfe{\0}\0"));

TEST(SettingsCodingTest, ReadsAPairOfSurrogatesAndAByteOrderMark) {
    EXPECT_EQ(parseJSON(R"("\ud83c\udfa7")").get<std::string>(), "🎧");
    EXPECT_EQ(decoded("\xef\xbb\xbf{\"volume\":2}").volume, 2.0);
}

TEST(SettingsCodingTest, OfEqualKeysTheLastCounts) {
    EXPECT_EQ(decoded(R"({"volume":2,"volume":3})").volume, 3.0);
    EXPECT_EQ(decoded(R"({"volume":"loud","volume":3})").volume, 3.0);
    EXPECT_THROW((void)decoded(R"({"volume":3,"volume":"loud"})"), CodingError);
}

TEST(SettingsCodingTest, RefusesWhatIsNestedTooDeeply) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_NO_THROW((void)parseJSON(nested(512)));
    EXPECT_THROW((void)parseJSON(nested(513)), CodingError);
    EXPECT_THROW((void)parseJSON(std::string(10'000, '[')), CodingError);
    EXPECT_THROW((void)parseJSON(nested(1'000'000)), CodingError);
    EXPECT_NO_THROW((void)parseJSON("[\"" + std::string(600, '[') + "\\\"" + std::string(600, '{') + "\"]"));
    std::string siblings = "[0";
    for (int i = 0; i < 600; ++i)
        siblings += ",[{}]";
    EXPECT_NO_THROW((void)parseJSON(siblings + "]"));
    std::string objects;
    for (int i = 0; i < 10'000; ++i)
        objects += "{\"a\":";
    EXPECT_THROW((void)parseJSON(objects), CodingError);
}

TEST(SettingsCodingTest, CannotWriteANumberThatIsNotFiniteNorTextThatIsNotUTF8) {
    EQSettings settings;
    settings.volume = std::numeric_limits<double>::infinity();
    EXPECT_THROW((void)encoded(settings), CodingError);
    settings.volume = 1;
    settings.bandGains[2] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW((void)encoded(settings), CodingError);
    settings.reset();
    settings.outputDeviceUID = "\xff";
    EXPECT_THROW((void)encoded(settings), CodingError);
    EXPECT_THROW((void)writeJSON({{"\xc3(", 1}}, JSONLayout::prettySorted), CodingError);
}

} // namespace
} // namespace vello
