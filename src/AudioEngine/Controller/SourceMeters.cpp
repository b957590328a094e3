// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/SourceMeters.h"

#include "AudioEngine/Realtime/HostTime.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr float kSilence = 0.0001F;
constexpr auto kLevelHold = 500ms;
constexpr auto kClippingHold = 3s;
constexpr auto kTempoPeriod = 500ms;
constexpr auto kTempoHold = 4s;
constexpr float kSpectrumDecay = 0.8F;

/// Fast attack, slow decay.
SpectrumAnalyzer::Levels smoothed(SpectrumAnalyzer::Levels spectrum, const SpectrumAnalyzer::Levels& newest) {
    for (std::size_t band = 0; band < spectrum.size(); ++band)
        spectrum[band] = spectrum[band] < newest[band]
                             ? newest[band]
                             : kSpectrumDecay * spectrum[band] + (1 - kSpectrumDecay) * newest[band];
    return spectrum;
}

bool hasClippedLately(const ProcessTap& tap, MainThread::Instant now) {
    const auto& context = tap.realtimeContext();
    const std::uint64_t clippedAt =
        context ? context->lastClippedHostTime.load(std::memory_order_relaxed) : 0;
    return clippedAt != 0 && clippedAt >= hostTime(now - kClippingHold);
}

SpectrumAnalyzer::Levels decayed(SpectrumAnalyzer::Levels spectrum) {
    for (float& level : spectrum)
        level *= kSpectrumDecay;
    return spectrum;
}

} // namespace

void SourceMeters::update(const TapCoordinator::Taps& taps, const std::optional<std::string>& activeSourceID,
                          MainThread::Instant now) {
    forgetAllBut([&](const std::string& sourceID) { return taps.contains(sourceID); });
    Levels levels;
    SourceIDs clipping;
    for (const auto& [sourceID, tap] : taps) {
        if (const auto level = measure(sourceID, *tap, now))
            levels.emplace_hint(levels.end(), sourceID, *level);
        if (hasClippedLately(*tap, now))
            clipping.emplace_hint(clipping.end(), sourceID);
    }
    const auto magnitudes = analyze(taps, activeSourceID);
    // Publish last, because an observer may change the taps.
    publishTempo();
    clippingSources_.set(std::move(clipping));
    levels_.set(std::move(levels));
    spectrum_.set(magnitudes ? smoothed(spectrum_.value(), *magnitudes) : decayed(spectrum_.value()));
    updatedAt_.set(now);
}

void SourceMeters::keepOnly(const Predicate& isKept) {
    forgetAllBut(isKept);
    publishTempo();
    Levels levels = levels_.value();
    std::erase_if(levels, [&](const auto& entry) { return !isKept(entry.first); });
    levels_.set(std::move(levels));
    SourceIDs clipping = clippingSources_.value();
    std::erase_if(clipping, [&](const std::string& sourceID) { return !isKept(sourceID); });
    clippingSources_.set(std::move(clipping));
}

void SourceMeters::forgetAllBut(const Predicate& isKept) {
    std::erase_if(memories_, [&](const auto& entry) { return !isKept(entry.first); });
    std::erase_if(tempo_, [&](const auto& entry) { return !isKept(entry.first); });
}

/// The level to display; nullopt for a silent source.
std::optional<float> SourceMeters::measure(const std::string& sourceID, const ProcessTap& tap,
                                           MainThread::Instant now) {
    if (!tap.realtimeContext())
        return std::nullopt;
    const float level = std::min(1.0F, tap.realtimeContext()->level());
    Memory& memory = memories_[sourceID];
    if (level > kSilence) {
        memory.lastAudibleAt = now;
        updateTempo(sourceID, tap, memory, now);
        return level;
    }
    if (memory.lastAudibleAt && now - *memory.lastAudibleAt <= kLevelHold)
        return level;
    forgetTempo(sourceID, memory);
    return std::nullopt;
}

void SourceMeters::updateTempo(const std::string& sourceID, const ProcessTap& tap, Memory& memory,
                               MainThread::Instant now) {
    const RunningEnergy& energy = energyOf(tap, memory);
    if (memory.lastTempoAnalysisAt && now - *memory.lastTempoAnalysisAt < kTempoPeriod)
        return;
    memory.lastTempoAnalysisAt = now;
    const TapRealtimeContext& context = *tap.realtimeContext();
    if (const auto estimate =
            tempoAnalyzer_.estimate(context.ringBuffer, energy, tap.sampleRate(), context.channelCount)) {
        tempo_.insert_or_assign(sourceID, *estimate);
        memory.lastTempoDetectedAt = now;
    } else if (!memory.lastTempoDetectedAt || now - *memory.lastTempoDetectedAt > kTempoHold) {
        tempo_.erase(sourceID);
        memory.lastTempoDetectedAt.reset();
    }
}

/// Up to date: with every tick, while the samples are still in a cache. Begins anew with another context,
/// whose ring holds other samples, and with another sample rate.
const RunningEnergy& SourceMeters::energyOf(const ProcessTap& tap, Memory& memory) {
    const auto& context = tap.realtimeContext();
    const std::size_t reach =
        TempoAnalyzer::longestSound(context->ringBuffer, tap.sampleRate(), context->channelCount);
    if (!memory.energy || memory.energy->reach() != reach || memory.heard.lock() != context) {
        memory.energy.emplace(reach, static_cast<std::size_t>(std::max(context->channelCount, 1)));
        memory.heard = context;
    }
    memory.energy->update(context->ringBuffer);
    return *memory.energy;
}

void SourceMeters::forgetTempo(const std::string& sourceID, Memory& memory) {
    tempo_.erase(sourceID);
    memory.lastTempoAnalysisAt.reset();
    memory.lastTempoDetectedAt.reset();
}

std::optional<SpectrumAnalyzer::Levels>
SourceMeters::analyze(const TapCoordinator::Taps& taps, const std::optional<std::string>& activeSourceID) {
    const auto found = activeSourceID ? taps.find(*activeSourceID) : taps.end();
    if (found == taps.end() || !found->second->realtimeContext())
        return std::nullopt;
    const TapRealtimeContext& context = *found->second->realtimeContext();
    return spectrumAnalyzer_.bandMagnitudes(context.ringBuffer, found->second->sampleRate(),
                                            context.channelCount);
}

/// Avoids a copy: most updates do not change an estimate.
void SourceMeters::publishTempo() {
    if (tempo_ != tempoEstimates_.value())
        tempoEstimates_.set(tempo_);
}

} // namespace vello
