// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/SettingsStore.h"

#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace vello {

inline EQSettings settingsWithVolume(double volume) {
    EQSettings settings;
    settings.volume = volume;
    return settings;
}

inline StoredSettings storedWithVolume(double volume) {
    return {{{"org.example.player", settingsWithVolume(volume)}}, {}};
}

class SettingsStoreTest : public testing::Test {
protected:
    explicit SettingsStoreTest(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
        : folder_(parent) {}

    void writeFile(std::string_view content) { writeTestFile(file_, content); }
    std::string fileContent() const { return readTestFile(file_); }
    /// What a store that starts now would load. It does not touch what is not settings.
    StoredSettings onDisk() {
        RecordingSystemLog log;
        return SettingsStore(support_, mainThread_, log).load();
    }
    /// The names in the folder but for the lock's.
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(file_.parent_path()))
            result.push_back(entry.path().filename().string());
        std::erase(result, "settings.json.lock");
        std::ranges::sort(result);
        return result;
    }
    static std::optional<SaveProblem::Kind> kindOfProblem(const SettingsStore& store) {
        const auto& problem = store.problem().value();
        return problem ? std::optional(problem->kind) : std::nullopt;
    }

    TemporaryFolder folder_;
    const std::filesystem::path support_ = folder_ / "share";
    const std::filesystem::path file_ = support_ / "EQ by QUORVIN/settings.json";
    const std::filesystem::path aside_ = support_ / "EQ by QUORVIN/settings.json.corrupt";
    VirtualMainThread mainThread_;
    RecordingSystemLog log_;
    SettingsStore store_{support_, mainThread_, log_};
};

} // namespace vello
