// SPDX-License-Identifier: Apache-2.0
#include "PanelFigures.h"

#include "Recording.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>

namespace vello::benchmark {
namespace {

constexpr double kPercent = 100;
/// Text on a plain ground has that many colours at its edges.
constexpr std::size_t kColoursOfText = 8;
/// Waits a second that come and go with the load of the machine.
constexpr double kNoise = 0.2;
constexpr double kProcessorAllowed = 5; // % of one processor

} // namespace

Figures::Figures() {
    std::printf("%-52s%14s%14s%9s\n", "", "measured", "allowed", "ratio");
}

void Figures::line(const char* what, double measured, const char* unit, double allowed) {
    if (allowed == 0) {
        std::printf("%-52s%10.2f %s\n", what, measured, unit);
        return;
    }
    const bool isGood = measured <= allowed;
    areWithinLimits_ = areWithinLimits_ && isGood;
    std::printf("%-52s%10.2f %-3s%10.2f %-3s%9.2f%s\n", what, measured, unit, allowed, unit,
                measured / allowed, isGood ? "" : "   <-- too much");
    std::fflush(stdout);
}

void Figures::memory(const char* what, double megabytes, double allowed) {
    line(what, megabytes, "MB", allowed);
}

void Figures::times(const char* what, const std::vector<double>& milliseconds, double allowed) {
    const std::string text(what);
    line(std::string(text).append(", least").c_str(), std::ranges::min(milliseconds), "ms");
    const double middle = session::median(milliseconds);
    const std::string medianText = std::string(text).append(", median");
    line(medianText.c_str(), middle, "ms", allowed);
}

void Figures::wakeUps(const Activity& headless, const Activity& hidden) {
    line("wake-ups of the first thread, without a screen", headless.firstThreadWaits, "/s");
    line("wake-ups of the first thread, panel hidden", hidden.firstThreadWaits, "/s");
    line("wake-ups that the hidden panel adds", hidden.firstThreadWaits - headless.firstThreadWaits, "/s",
         kNoise);
}

void Figures::processor(const Activity& headless, const Activity& hidden, const Activity& open) {
    line("processor, without a screen, whole program", kPercent * headless.process, "%");
    line("processor, panel hidden, whole program", kPercent * hidden.process, "%");
    line("processor, panel open, whole program", kPercent * open.process, "%");
    line("processor, panel open, first thread", kPercent * open.firstThread, "%", kProcessorAllowed);
}

bool shows(const QImage& picture, const QImage& empty) {
    std::set<QRgb> colours;
    int changed = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            colours.insert(picture.pixel(x, y));
            changed += picture.pixel(x, y) != empty.pixel(x, y) ? 1 : 0;
        }
    return 2 * changed > picture.width() * picture.height() && colours.size() >= kColoursOfText;
}

} // namespace vello::benchmark
