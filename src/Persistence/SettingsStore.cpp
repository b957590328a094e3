// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsStore.h"

#include "Foundation/Files.h"
#include "Foundation/Product.h"
#include "Foundation/ReplacingFile.h"
#include "Models/SettingsCoding.h"
#include "Persistence/SettingsMerge.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::chrono_literals;

constexpr auto kSaveDelay = 500ms;
constexpr int kFormatVersion = 1;
constexpr std::size_t kLargestFile = std::size_t{64} << 20;

bool hasEveryBand(const std::vector<double>& gains) {
    return gains.size() == EQSettings::bandCount;
}

bool isInteger(const json& value) {
    return value.is_number_integer() ||
           (value.is_number_float() && std::trunc(value.get<double>()) == value.get<double>());
}

const json& requireMember(const json& payload, const char* key) {
    const auto member = payload.find(key);
    if (member == payload.end() || member->is_null())
        throw CodingError("\"" + std::string(key) + "\" is missing");
    return *member;
}

void requireType(bool isRight, const char* key, const char* wanted) {
    if (!isRight)
        throw CodingError("\"" + std::string(key) + "\" is not " + wanted);
}

SettingsBySourceID decodeSources(const json& sources) {
    requireType(sources.is_object(), "sources", "an object");
    SettingsBySourceID result;
    for (const auto& [sourceID, value] : sources.items()) {
        EQSettings settings = decodeSettings(value);
        if (hasEveryBand(settings.bandGains))
            result.emplace(sourceID, std::move(settings));
    }
    return result;
}

std::vector<UserEQPreset> decodeUserPresets(const json& presets) {
    requireType(presets.is_array(), "userPresets", "an array");
    std::vector<UserEQPreset> result;
    for (const json& value : presets) {
        UserEQPreset preset = decodeUserPreset(value);
        if (hasEveryBand(preset.bandGains) && !preset.name.empty())
            result.push_back(std::move(preset));
    }
    return result;
}

/// The version is required, but any integer is accepted.
StoredSettings decodePayload(std::string_view text) {
    if (text.size() > kLargestFile)
        throw CodingError("the file is too large");
    const json payload = parseJSON(text);
    requireType(payload.is_object(), "settings", "an object");
    requireType(isInteger(requireMember(payload, "version")), "version", "an integer");
    StoredSettings settings;
    settings.sources = decodeSources(requireMember(payload, "sources"));
    const auto presets = payload.find("userPresets");
    if (presets != payload.end() && !presets->is_null())
        settings.userPresets = decodeUserPresets(*presets);
    return settings;
}

std::string encodePayload(const StoredSettings& settings) {
    using Encoded = nlohmann::ordered_json;
    // Filled as a list of members, because inserting by key into an ordered object takes quadratic time.
    Encoded::object_t sources;
    sources.reserve(settings.sources.size());
    for (const auto& [sourceID, value] : settings.sources)
        sources.emplace_back(sourceID, encode(value));
    Encoded presets = Encoded::array();
    for (const UserEQPreset& preset : settings.userPresets)
        presets.push_back(encode(preset));
    const Encoded payload{
        {"version", kFormatVersion}, {"sources", std::move(sources)}, {"userPresets", presets}};
    return writeJSON(payload, JSONLayout::prettySorted) + "\n";
}

fs::path withSuffix(fs::path file, const char* suffix) {
    return file += suffix;
}

} // namespace

/// What is in the place of the settings file.
struct SettingsStore::Found {
    enum class State { nothing, usable, corrupt, unreadable, notAFile };

    State state = State::nothing;
    StoredSettings settings = {};        ///< of a usable file
    std::optional<FileStamp> stamp = {}; ///< of a usable file
    std::string reason = {};             ///< why it is not usable
};

SettingsStore::SettingsStore(const fs::path& applicationSupportFolder, MainThread& mainThread, SystemLog& log)
    : fileURL_(applicationSupportFolder / kApplicationFolder / "settings.json"), mainThread_(mainThread),
      logger_(log, kBundleIdentifier, "SettingsStore"), lock_(withSuffix(fileURL_, ".lock")) {}

StoredSettings SettingsStore::load() {
    // Owned before it is read: then nobody changes it between the two.
    const bool isOwned = takeOwnership();
    Found found = find();
    if (found.state == Found::State::corrupt) {
        logger_.error("Settings file corrupt, starting fresh: " + found.reason);
        if (isOwned)
            moveAside(fileURL_, withSuffix(fileURL_, ".corrupt"));
    }
    if (found.state == Found::State::unreadable || found.state == Found::State::notAFile)
        unread_ = SaveProblem{SaveProblem::Kind::unreadable, found.reason};
    known_ = found.settings;
    knownStamp_ = found.stamp;
    if (isOwned)
        problem_.set(unread_);
    else
        save(); // says that it cannot
    return std::move(found.settings);
}

SettingsStore::Found SettingsStore::find() const {
    using State = Found::State;
    const auto content = readContent(fileURL_, kLargestFile + 1);
    const int error = errno;
    if (!content && (error == ENOENT || error == ENOTDIR))
        return {};
    if (std::error_code ignored; !content && fs::is_other(fs::status(fileURL_, ignored)))
        return {.state = State::notAFile, .reason = fileURL_.string() + " is not a file"};
    if (!content && error == EISDIR)
        return {.state = State::notAFile, .reason = fileURL_.string() + " is a folder"};
    if (!content)
        return {.state = State::unreadable,
                .reason = fileURL_.string() + ": " + std::generic_category().message(error)};
    try {
        return {.state = State::usable, .settings = decodePayload(content->text), .stamp = content->stamp};
    } catch (const CodingError& failure) {
        return {.state = State::corrupt, .reason = failure.what()};
    }
}

// Ownership

/// Returns false while another process has it. Without locks, as on some network mounts, everybody has it.
bool SettingsStore::takeOwnership() {
    const bool wasHeld = lock_.isHeld();
    const SettingsLock::State state = lock_.acquire();
    if (state == SettingsLock::State::held && !wasHeld)
        ReplacingFile::removeLeftovers(fileURL_);
    return state != SettingsLock::State::heldElsewhere;
}

void SettingsStore::requireOwnership() {
    if (takeOwnership())
        return;
    const std::string holder = lock_.holder();
    throw SaveFailure({SaveProblem::Kind::usedElsewhere, "another VELLO saves its settings there" +
                                                             (holder.empty() ? "" : " (" + holder + ")")});
}

// Saving

void SettingsStore::scheduleSave(StoredSettings settings) {
    pending_ = std::move(settings);
    saveTask_ = mainThread_.after(kSaveDelay, [this] { save(); });
}

void SettingsStore::flush(const StoredSettings& settings) {
    pending_ = settings;
    save();
}

void SettingsStore::save() {
    const auto problem = savePending();
    if (!problem)
        return;
    logger_.error("Failed to save settings: " + problem->reason);
    retryLater(*problem);
}

/// Logs only what has not been logged yet.
void SettingsStore::retry() {
    const auto problem = savePending();
    if (!problem)
        return;
    if (problem != problem_.value())
        logger_.error("Failed to save settings: " + problem->reason);
    retryLater(*problem);
}

std::optional<SaveProblem> SettingsStore::savePending() {
    saveTask_.reset();
    try {
        requireOwnership();
        if (pending_ && pending_ != known_)
            write(*pending_);
    } catch (const std::exception& error) {
        return saveProblem(error);
    }
    pending_.reset();
    retryDelay_.reset();
    problem_.set(unread_);
    return std::nullopt;
}

void SettingsStore::retryLater(const SaveProblem& problem) {
    saveTask_ = mainThread_.after(retryDelay_.next(), [this] { retry(); });
    problem_.set(problem);
}

void SettingsStore::write(const StoredSettings& settings) {
    createPrivateFolder(fileURL_.parent_path());
    requireOwnership(); // again, because the lock's folder may be new
    const bool isAsKnown = knownStamp_ && fileStamp(fileURL_) == knownStamp_;
    const Found found = isAsKnown ? Found{} : find();
    const bool mustMerge = known_ && found.state == Found::State::usable;
    const StoredSettings content = mustMerge ? merged(*known_, settings, found.settings) : settings;
    const std::string text = encodePayload(content);
    keepAside(found);
    writeFileAtomically(fileURL_, text);
    known_ = settings;
    // What was merged in is not known here, so the next save must merge again.
    knownStamp_ = content == settings ? fileStamp(fileURL_) : std::nullopt;
    unread_.reset();
}

void SettingsStore::keepAside(const Found& found) const {
    if (found.state == Found::State::notAFile)
        throw SaveFailure({SaveProblem::Kind::other, found.reason});
    if (found.state != Found::State::corrupt && found.state != Found::State::unreadable)
        return;
    const char* const suffix = found.state == Found::State::corrupt ? ".corrupt" : ".unreadable";
    const fs::path aside = withSuffix(fileURL_, suffix);
    if (!moveAside(fileURL_, aside))
        throw std::system_error(errno, std::generic_category(),
                                "cannot move " + fileURL_.string() + " aside");
    logger_.error("Settings file kept as " + aside.filename().string() + ": " + found.reason);
}

} // namespace vello
