// SPDX-License-Identifier: Apache-2.0
#include "SettingsStoreFixture.h"
#include "support/CaseCount.h"

#include <array>
#include <random>

namespace vello {
namespace {

namespace fs = std::filesystem;

constexpr int kFilesPerSave = 1'000; ///< a save waits for the disk, a load does not

constexpr std::array<std::string_view, 24> kTokens{
    "{",     "}",  "[",           "]",          ",",       ":",       "null",     "true",
    "1e999", "-0", "1e-400",      "\"\"",       "\\u0000", "\\ud800", "\xff",     "\xef\xbb\xbf",
    "//",    "\"", "\"sources\"", "\"volume\"", "0x10",    "NaN",     "\xc0\x80", "18446744073709551616"};

/// Changes sound settings files at random places. The same files in every run.
class Mutator {
public:
    Mutator() {
        StoredSettings settings;
        settings.sources["eq-by-quorvin.system.master"].bandGains = {-6, -5, -3.5, -1.5, 0, 1e-7, 12, 0.1};
        settings.sources["日本\n\"x\""] = settingsWithVolume(0.3);
        settings.sources["org.example.player"].outputDeviceUID = "alsa_output.usb";
        settings.sources["org.example.film"].downmixesSurround = true;
        settings.userPresets = {{"Rock", {1, 2, 3, 4, 5, 6, 7, 8}}, {" ", std::vector<double>(8, 0.0)}};
        TemporaryFolder folder;
        VirtualMainThread mainThread;
        RecordingSystemLog log;
        SettingsStore(folder.path(), mainThread, log).flush(settings);
        sound_ = {
            readTestFile(folder / "EQ by QUORVIN/settings.json"), R"({"version":1,"sources":{}})",
            R"({"version":7,"sources":{"a":{"bandGains":[0,0,0,0,0,0,0,0],"volume":null}},"more":[{}]})"};
    }

    std::string next() {
        std::string text = sound_[below(sound_.size())];
        for (std::size_t changes = below(4); changes-- > 0;)
            change(text);
        return text;
    }

private:
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

    void change(std::string& text) {
        const std::size_t place = below(text.size() + 1);
        const std::size_t length = below(20);
        switch (below(6)) {
        case 0:
            return text.resize(place);
        case 1:
            text.erase(place, length);
            return;
        case 2:
            text.insert(place, kTokens[below(kTokens.size())]);
            return;
        case 3:
            text.insert(below(text.size() + 1), text.substr(place, 10 * length));
            return;
        case 4:
            text.insert(place, 1, static_cast<char>(below(256)));
            return;
        default:
            if (place < text.size())
                text[place] = static_cast<char>(text[place] ^ (1 << below(8)));
        }
    }

    std::mt19937_64 random_{20261122};
    std::vector<std::string> sound_;
};

bool isUsable(const StoredSettings& settings) {
    const auto hasEveryBand = [](const auto& value) {
        return value.bandGains.size() == EQSettings::bandCount;
    };
    return std::ranges::all_of(settings.sources,
                               [&](const auto& entry) { return hasEveryBand(entry.second); }) &&
           std::ranges::all_of(settings.userPresets, [&](const UserEQPreset& preset) {
               return hasEveryBand(preset) && !preset.name.empty();
           });
}

class SettingsMutationTest : public SettingsStoreTest {
protected:
    SettingsMutationTest() : SettingsStoreTest(folderInMemory()) {}
};

TEST_F(SettingsMutationTest, AMutatedFileLoadsOrIsKeptAsideWhole) {
    const int files = test::caseCount("VELLO_MUTATED_FILES", 100'000);
    Mutator mutator;
    int loaded = 0;
    for (int i = 0; i < files; ++i) {
        const std::string content = mutator.next();
        writeFile(content);
        const StoredSettings settings = store_.load();
        ASSERT_TRUE(isUsable(settings)) << content;
        const bool isAside = fs::exists(aside_);
        ASSERT_EQ(readTestFile(isAside ? aside_ : file_), content) << "file " << i;
        ASSERT_NE(fs::exists(file_), isAside);
        ASSERT_EQ(log_.lines().size(), isAside ? 1U : 0U);
        loaded += isAside ? 0 : 1;
        if (!isAside && i % kFilesPerSave == 0) {
            StoredSettings changed = settings;
            changed.sources["changed"] = settingsWithVolume(i);
            store_.flush(changed);
            ASSERT_EQ(onDisk(), changed) << content;
        }
        fs::remove(aside_);
        log_.clear();
    }
    EXPECT_GT(loaded, files / 10);
    EXPECT_LT(loaded, files - files / 10);
}

} // namespace
} // namespace vello
