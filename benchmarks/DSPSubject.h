// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace vello {

/// The blocks that a subject processes.
struct Scenario {
    const char* name;
    std::size_t frames;
    std::size_t channels;
    bool isSilentAfterSignal = false;
    bool changesCurve = false; ///< a new curve in every callback, before the last one is reached
};

/// One thing to be measured: takes a buffer of interleaved source samples, and has its output somewhere of
/// its own.
class Subject {
public:
    virtual ~Subject() = default;
    virtual void process(std::vector<float>& source) = 0;
};

} // namespace vello
