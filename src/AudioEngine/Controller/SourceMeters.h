// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Analysis/RunningEnergy.h"
#include "AudioEngine/Analysis/SpectrumAnalyzer.h"
#include "AudioEngine/Analysis/TempoAnalyzer.h"
#include "AudioEngine/Capture/TapCoordinator.h"
#include "Foundation/Published.h"
#include "Ports/MainThread.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace vello {

/// Meter values of the taps for display: levels, tempo and the spectrum of one source. Main thread only. It
/// has no timer of its own: the owner calls update() while the meters are visible.
class SourceMeters {
public:
    using Levels = std::map<std::string, float, std::less<>>;
    using TempoEstimates = std::map<std::string, TempoEstimate, std::less<>>;
    using SourceIDs = std::set<std::string, std::less<>>;
    using Predicate = std::function<bool(const std::string& sourceID)>;

    /// 0 to 1, for audible sources only; a source without an entry is silent. A source that becomes silent
    /// keeps its entry, with the measured level, for 0.5 s.
    const Published<Levels>& levels() const { return levels_; }
    /// Of the active source. Rises immediately and falls by a fifth of the difference with each update.
    const Published<SpectrumAnalyzer::Levels>& spectrum() const { return spectrum_; }
    /// For audible sources, estimated twice a second. An estimate is kept for 4 s if there is no new one.
    const Published<TempoEstimates>& tempoEstimates() const { return tempoEstimates_; }
    /// The sources whose processed peak was above 0 dBFS within the last 3 s, audible or not.
    const Published<SourceIDs>& clippingSources() const { return clippingSources_; }
    /// The time of the latest update. Changes with every one, after all other values.
    const Published<MainThread::Instant>& updatedAt() const { return updatedAt_; }

    /// Reads the taps once. `activeSourceID` is the source whose spectrum is computed.
    void update(const TapCoordinator::Taps& taps, const std::optional<std::string>& activeSourceID,
                MainThread::Instant now);
    /// Drops all values of every other source.
    void keepOnly(const Predicate& isKept);

private:
    struct Memory {
        std::optional<MainThread::Instant> lastAudibleAt;
        std::optional<MainThread::Instant> lastTempoAnalysisAt;
        std::optional<MainThread::Instant> lastTempoDetectedAt;
        std::weak_ptr<const TapRealtimeContext> heard; ///< whose ring the energy belongs to
        std::optional<RunningEnergy> energy;
    };

    void forgetAllBut(const Predicate& isKept);
    std::optional<float> measure(const std::string& sourceID, const ProcessTap& tap, MainThread::Instant now);
    void updateTempo(const std::string& sourceID, const ProcessTap& tap, Memory& memory,
                     MainThread::Instant now);
    static const RunningEnergy& energyOf(const ProcessTap& tap, Memory& memory);
    void forgetTempo(const std::string& sourceID, Memory& memory);
    std::optional<SpectrumAnalyzer::Levels> analyze(const TapCoordinator::Taps& taps,
                                                    const std::optional<std::string>& activeSourceID);
    void publishTempo();

    Published<Levels> levels_;
    Published<SpectrumAnalyzer::Levels> spectrum_;
    Published<TempoEstimates> tempoEstimates_;
    Published<SourceIDs> clippingSources_;
    Published<MainThread::Instant> updatedAt_;
    SpectrumAnalyzer spectrumAnalyzer_;
    TempoAnalyzer tempoAnalyzer_;
    std::map<std::string, Memory, std::less<>> memories_;
    TempoEstimates tempo_; ///< copied to tempoEstimates_ at the end of each update
};

} // namespace vello
