// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

#include <vector>

namespace vello::benchmark {

/// What a process does while it is watched.
struct Activity {
    double firstThreadWaits = 0; ///< a second
    double firstThread = 0;      ///< share of one processor
    double process = 0;          ///< share of one processor
};

/// The table of what was measured, beside what is allowed. Prints each line at once.
class Figures {
public:
    Figures();

    /// `allowed` as for times().
    void memory(const char* what, double megabytes, double allowed = 0);
    /// Least and median of several times. `allowed` holds for the median; 0: it only informs.
    void times(const char* what, const std::vector<double>& milliseconds, double allowed);
    /// What a hidden panel adds to the waits of a VELLO without a screen, which are the model's own.
    void wakeUps(const Activity& headless, const Activity& hidden);
    void processor(const Activity& headless, const Activity& hidden, const Activity& open);

    bool areWithinLimits() const { return areWithinLimits_; }

private:
    void line(const char* what, double measured, const char* unit, double allowed = 0);

    bool areWithinLimits_ = true;
};

/// Whether the picture shows something with text on it where `empty` shows the bare screen.
bool shows(const QImage& picture, const QImage& empty);

} // namespace vello::benchmark
