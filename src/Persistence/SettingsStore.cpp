// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsStore.h"

#include "Foundation/Files.h"
#include "Foundation/Product.h"
#include "Foundation/ReplacingFile.h"
#include "Models/SettingsCoding.h"
#include "Persistence/SettingsFileText.h"
#include "Persistence/SettingsMerge.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kSaveDelay = 500ms;

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
    const auto content = readContent(fileURL_, kLargestSettingsFile + 1);
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
        return {
            .state = State::usable, .settings = decodeStoredSettings(content->text), .stamp = content->stamp};
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
    const std::string text = encodeStoredSettings(content);
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
