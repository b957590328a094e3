// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"
#include "PresetFiles/CurveFit.h"

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Presets as files: VELLO's own, and curves of other equalizers. docs/presets.md describes the formats.
namespace vello {

/// A file with more bytes is refused.
inline constexpr std::size_t kLargestPresetFile = std::size_t{1} << 20;
inline constexpr std::size_t kMostPresetsInFile = 1000;

/// A sentence about a file. The panel translates it with localized(english, argument).
struct PresetRemark {
    std::string_view english;  ///< the key, a literal; "%1" stands for `argument`
    std::string argument = {}; ///< plain text of at most a line

    /// The sentence in English.
    std::string text() const;

    friend bool operator==(const PresetRemark&, const PresetRemark&) = default;
};

/// A file that holds no curve. what() is one sentence in English: what is wrong, where, and what to do.
class PresetFileError : public std::runtime_error {
public:
    explicit PresetFileError(PresetRemark remark)
        : std::runtime_error(remark.text()), remark_(std::move(remark)) {}
    const PresetRemark& remark() const noexcept { return remark_; }

private:
    PresetRemark remark_;
};

/// A curve from a file, not yet saved.
struct ImportedPreset {
    std::string name = {};          ///< not checked; empty if the file does not name it
    EQPreset::Gains bandGains = {}; ///< dB, -12 to 12
    FitError error = {};            ///< of the bands against the file's curve, without its overall level
    std::vector<PresetRemark> remarks = {}; ///< what the bands cannot express
};

/// Reads a file of any supported format: at least one preset, except for VELLO's own format exactly one.
/// `content` may be anything. Throws PresetFileError. Takes milliseconds; any thread.
std::vector<ImportedPreset> readPresetFile(std::string_view content);
/// VELLO's own format, without presets that do not have eight gains, which nobody could read. Throws
/// CodingError for a preset that it cannot represent: a name that is not valid UTF-8, a gain that is not
/// finite.
std::string writePresetFile(std::span<const UserEQPreset> presets);
/// A preset's name from that of its file, without the folder, the extension and the words that other
/// programs add for the format.
std::string presetNameOfFile(std::string_view fileName);

} // namespace vello
