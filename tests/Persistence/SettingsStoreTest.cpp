// SPDX-License-Identifier: Apache-2.0
#include "SettingsStoreFixture.h"

#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

namespace vello {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST_F(SettingsStoreTest, LoadsNothingFromNoFileAndLeavesNothingBehind) {
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_FALSE(fs::exists(support_));
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(SettingsStoreTest, LoadsWhatItWrote) {
    StoredSettings settings;
    settings.sources["org.example.player"] = settingsWithVolume(0.1);
    settings.sources["eq-by-quorvin.system.master"].bandGains = {-2, -1, 0, 2, 4, 4, 2, 0};
    settings.sources["日本\n\"x\""].outputDeviceUID = "alsa_output.usb";
    settings.sources["org.example.film"].downmixesSurround = true;
    settings.userPresets = {{"Rock", {1, 2, 3, 4, 5, 6, 7, 8}}, {" ", std::vector<double>(8, 0.0)}};
    store_.flush(settings);
    EXPECT_EQ(store_.load(), settings);
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(SettingsStoreTest, WritesSortedIndentedJSON) {
    StoredSettings settings = storedWithVolume(0.5);
    settings.sources["org.example.player"].outputDeviceUID = "usb";
    settings.sources["B"].bandGains = std::vector<double>(8, 1.5);
    settings.sources["B"].downmixesSurround = true;
    settings.userPresets = {{"Rock", std::vector<double>(8, -3.0)}};
    store_.flush(settings);
    std::string withoutGains = fileContent();
    for (const char* gains : {"1.5", "-3", "0"}) {
        std::string list = "[\n";
        const std::string indent(8, ' ');
        for (int i = 0; i < 8; ++i)
            list += indent + gains + (i < 7 ? ",\n" : "\n");
        list += "      ]";
        const auto place = withoutGains.find(list);
        ASSERT_NE(place, std::string::npos) << fileContent();
        withoutGains.replace(place, list.size(), "[...]");
    }
    EXPECT_EQ(withoutGains, R"({
  "sources": {
    "B": {
      "bandGains": [...],
      "downmixesSurround": true,
      "isBypassed": false,
      "volume": 1
    },
    "org.example.player": {
      "bandGains": [...],
      "isBypassed": false,
      "outputDeviceUID": "usb",
      "volume": 0.5
    }
  },
  "userPresets": [
    {
      "bandGains": [...],
      "name": "Rock"
    }
  ],
  "version": 1
}
)");
}

TEST_F(SettingsStoreTest, TheFileAndItsFolderAreTheUsersAlone) {
    store_.flush({});
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(file_.parent_path()).permissions(), fs::perms(0700));
}

TEST_F(SettingsStoreTest, TheFirstSaveCreatesTheFileHalfASecondLater) {
    store_.scheduleSave(storedWithVolume(0.5));
    mainThread_.advance(499ms);
    EXPECT_FALSE(fs::exists(support_));
    mainThread_.advance(1ms);
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
}

TEST_F(SettingsStoreTest, ABurstOfSavesIsOneWriteOfTheLastValues) {
    for (int i = 0; i < 10; ++i) {
        if (i > 0)
            mainThread_.advance(100ms);
        store_.scheduleSave(storedWithVolume(i));
    }
    mainThread_.advance(499ms);
    EXPECT_FALSE(fs::exists(file_));
    mainThread_.advance(1ms);
    EXPECT_EQ(store_.load(), storedWithVolume(9));

    fs::remove(file_);
    mainThread_.advance(10s);
    EXPECT_FALSE(fs::exists(file_)) << "nothing else was pending";
}

TEST_F(SettingsStoreTest, ASaveKeepsTheValuesOfItsCall) {
    StoredSettings settings = storedWithVolume(0.5);
    store_.scheduleSave(settings);
    settings.sources.clear();
    mainThread_.advance(500ms);
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
}

TEST_F(SettingsStoreTest, AFlushWritesAtOnceAndEndsThePendingSave) {
    store_.scheduleSave(storedWithVolume(0.5));
    store_.flush(storedWithVolume(0.7));
    EXPECT_EQ(store_.load(), storedWithVolume(0.7));
    EXPECT_EQ(mainThread_.pendingTaskCount(), 0U);
    fs::remove(file_);
    mainThread_.advance(10s);
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(SettingsStoreTest, ASaveDoesNotOutliveItsStore) {
    {
        SettingsStore store(support_, mainThread_, log_);
        store.scheduleSave(storedWithVolume(0.5));
    }
    mainThread_.advance(10s);
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(SettingsStoreTest, AFileOfAnotherVersionLoadsAndIsWrittenInThisOne) {
    for (const char* version : {"7", "-1", "7.0", "1e2", "18446744073709551615"}) {
        writeFile(R"({"version":)" + std::string(version) + R"(,"sources":{},"more":[{}]})");
        EXPECT_EQ(store_.load(), StoredSettings{});
        EXPECT_TRUE(fs::exists(file_)) << version;
    }
    store_.flush(storedWithVolume(0.5));
    store_.flush({});
    EXPECT_EQ(fileContent(), "{\n  \"sources\": {},\n  \"userPresets\": [],\n  \"version\": 1\n}\n");
}

TEST_F(SettingsStoreTest, AbsentPresetsAreNone) {
    writeFile(R"({"version":1,"sources":{"a":{}},"userPresets":null})");
    EXPECT_EQ(store_.load(), (StoredSettings{{{"a", {}}}, {}}));
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(SettingsStoreTest, DropsWhatHasNotEightBandsOrNoName) {
    writeFile(R"({"version":1,
        "sources":{"seven":{"bandGains":[1,2,3,4,5,6,7]}, "ten":{"bandGains":[1,2,3,4,5,6,7,8,9,10]},
                   "eight":{"bandGains":[1,2,3,4,5,6,7,8]}, "none":{"bandGains":[]}, "default":{}},
        "userPresets":[{"name":"","bandGains":[0,0,0,0,0,0,0,0]}, {"name":"z","bandGains":[1,1,1,1,1,1,1,1]},
                       {"name":"short","bandGains":[0]}, {"name":" ","bandGains":[0,0,0,0,0,0,0,0]}]})");
    const StoredSettings settings = store_.load();
    EXPECT_THAT(settings.sources, ElementsAre(testing::Key("default"), testing::Key("eight")));
    ASSERT_EQ(settings.userPresets.size(), 2U);
    EXPECT_EQ(settings.userPresets[0].name, "z");
    EXPECT_EQ(settings.userPresets[1].name, " ");
    EXPECT_THAT(log_.messages(), IsEmpty());
}

class CorruptSettingsFile : public SettingsStoreTest, public testing::WithParamInterface<std::string> {};

TEST_P(CorruptSettingsFile, IsMovedAsideAndLogged) {
    writeFile(GetParam());
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_FALSE(fs::exists(file_));
    EXPECT_EQ(readTestFile(aside_), GetParam());
    const auto lines = log_.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, LogLevel::error);
    EXPECT_EQ(lines[0].subsystem, "com.quorvin.Vello");
    EXPECT_EQ(lines[0].category, "SettingsStore");
    EXPECT_THAT(lines[0].message, StartsWith("Settings file corrupt, starting fresh: "));
    EXPECT_GT(lines[0].message.size(), std::string("Settings file corrupt, starting fresh: ").size());
}

INSTANTIATE_TEST_SUITE_P(
    SettingsStoreTest, CorruptSettingsFile,
    testing::Values("", "{", "[]", "null", "{}", R"({"version":1})", R"({"sources":{}})",
                    R"({"version":null,"sources":{}})", R"({"version":"1","sources":{}})",
                    R"({"version":1.5,"sources":{}})", R"({"version":true,"sources":{}})",
                    R"({"version":1,"sources":null})", R"({"version":1,"sources":[]})",
                    R"({"version":1,"sources":{"a":null}})",
                    R"({"version":1,"sources":{"a":{"volume":"loud"}}})",
                    R"({"version":1,"sources":{"a":{"isBypassed":1}}})",
                    R"({"version":1,"sources":{"a":{"downmixesSurround":1}}})",
                    R"({"version":1,"Sources":{}})", R"({"version":1,"sources":{},"userPresets":{}})",
                    R"({"version":1,"sources":{},"userPresets":[{"name":"x"}]})",
                    R"({"version":1,"sources":{},"userPresets":[null]})",
                    std::string("{\"version\":1,\"sources\":{}}\0\0\0", 28),
                    "{\"version\":1,\"sources\":{\"\xff\":{}}}", R"({"version":1,"sources":{"\ud800":{}}})",
                    std::string(10'000, '[')));

TEST_F(SettingsStoreTest, EarlierCorruptFilesGetNumbers) {
    for (const char* content : {"first", "second", "third"}) {
        writeFile(content);
        EXPECT_EQ(store_.load(), StoredSettings{});
        EXPECT_EQ(readTestFile(aside_), content);
    }
    EXPECT_EQ(readTestFile(aside_.string() + ".1"), "first");
    EXPECT_EQ(readTestFile(aside_.string() + ".2"), "second");
    EXPECT_FALSE(fs::exists(file_));
    EXPECT_EQ(log_.lines().size(), 3U);
}

TEST_F(SettingsStoreTest, AFileThatIsTooLargeIsMovedAside) {
    writeFile("");
    fs::resize_file(file_, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_TRUE(fs::exists(aside_));
    EXPECT_THAT(log_.messages(), ElementsAre("Settings file corrupt, starting fresh: the file is too large"));
}

TEST_F(SettingsStoreTest, ManySourcesLoadAndSave) {
    StoredSettings settings;
    for (int i = 0; i < 20'000; ++i)
        settings.sources["org.example.application" + std::to_string(i)].volume = i;
    store_.flush(settings);
    EXPECT_EQ(store_.load(), settings);
}

TEST_F(SettingsStoreTest, SomethingElseOfThatNameReadsAsNoFile) {
    fs::create_directories(file_);
    EXPECT_EQ(store_.load(), StoredSettings{});
    EXPECT_TRUE(fs::is_directory(file_));
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(SettingsStoreTest, AFolderThatCannotBeCreatedIsLoggedAndTheNextSaveTriesAgain) {
    writeTestFile(support_, "a file is in the way");
    store_.flush(storedWithVolume(0.5));
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_EQ(log_.lines()[0].level, LogLevel::error);
    EXPECT_THAT(log_.lines()[0].message, StartsWith("Failed to save settings: "));

    fs::remove(support_);
    store_.flush(storedWithVolume(0.5));
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
    EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(SettingsStoreTest, WhatCannotBeEncodedIsLoggedAndTheOldFileStays) {
    store_.flush(storedWithVolume(0.5));
    store_.flush(storedWithVolume(std::numeric_limits<double>::infinity()));
    store_.flush({{{"\xff", {}}}, {}});
    EXPECT_THAT(log_.messages(), ElementsAre(StartsWith("Failed to save settings: "),
                                             StartsWith("Failed to save settings: ")));
    EXPECT_EQ(store_.load(), storedWithVolume(0.5));
}

RC_GTEST_FIXTURE_PROP(SettingsStoreTest, AnythingInTheFileLoadsOrIsMovedAside, ()) {
    const auto fragments = *rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
        "{", "}", "[", "]", "\"version\":1", "\"sources\":", "\"userPresets\":", ",", "\"a\"", ":", "null",
        "true", "\"bandGains\":[1,2,3,4,5,6,7,8]", "\"volume\":0.5", "\xff", " ", "1e5"));
    std::string content;
    for (const std::string& fragment : fragments)
        content += fragment;
    writeFile(content);
    (void)store_.load();
    RC_ASSERT(fs::exists(file_) != fs::exists(aside_));
    RC_ASSERT(readTestFile(fs::exists(file_) ? file_ : aside_) == content);
    fs::remove(aside_);
}

} // namespace
} // namespace vello
