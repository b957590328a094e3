// SPDX-License-Identifier: Apache-2.0
#include "DSPPeers.h"

#include <liquid/liquid.h>

#include <initializer_list>
#include <type_traits>
#include <vector>

namespace vello {
namespace {

/// One channel.
class LiquidCascade {
public:
    explicit LiquidCascade(const BiquadSetup::Sections& sections) {
        std::vector<float> forward;
        std::vector<float> backward;
        for (const BiquadCoefficients& s : sections) {
            append(forward, {s.b0, s.b1, s.b2});
            append(backward, {1.0, s.a1, s.a2});
        }
        filter_.reset(iirfilt_rrrf_create_sos(forward.data(), backward.data(), kSectionCount));
    }

    void process(float* source, float* destination, std::size_t frames) {
        iirfilt_rrrf_execute_block(filter_.get(), source, static_cast<unsigned>(frames), destination);
    }

private:
    struct Destroy {
        void operator()(iirfilt_rrrf filter) const { iirfilt_rrrf_destroy(filter); }
    };

    static void append(std::vector<float>& values, std::initializer_list<double> added) {
        for (const double value : added)
            values.push_back(static_cast<float>(value));
    }

    std::unique_ptr<std::remove_pointer_t<iirfilt_rrrf>, Destroy> filter_;
};

class LiquidSubject : public Subject {
public:
    LiquidSubject(const BiquadSetup::Sections& sections, const Scenario& scenario)
        : frames_(scenario.frames), samples_(frames_ * scenario.channels) {
        for (std::size_t channel = 0; channel < scenario.channels; ++channel)
            channels_.emplace_back(sections);
    }

    void process(std::vector<float>& source) override {
        for (std::size_t channel = 0; channel < channels_.size(); ++channel)
            channels_[channel].process(source.data() + channel * frames_, samples_.data() + channel * frames_,
                                       frames_);
    }

private:
    std::size_t frames_;
    std::vector<float> samples_;
    std::vector<LiquidCascade> channels_;
};

} // namespace

std::unique_ptr<Subject> liquidSubject(const BiquadSetup::Sections& sections, const Scenario& scenario) {
    return std::make_unique<LiquidSubject>(sections, scenario);
}

} // namespace vello
