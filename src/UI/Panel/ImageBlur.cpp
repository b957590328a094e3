// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/ImageBlur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vello {
namespace {

constexpr int kPasses = 3;
constexpr int kChannels = 4;

/// Half widths of three boxes whose combined variance is that of the Gaussian. A box of width n has the
/// variance (n^2 - 1) / 12; the variances add up.
std::array<int, kPasses> boxes(double radius) {
    const double ideal = std::sqrt(12.0 * radius * radius / kPasses + 1.0);
    const int lower = static_cast<int>(ideal - 1.0) / 2;
    const double lowerWidth = 2.0 * lower + 1.0;
    const double lowerCount =
        (12.0 * radius * radius - kPasses * (lowerWidth * lowerWidth + 4.0 * lowerWidth + 3.0)) /
        (-4.0 * lowerWidth - 4.0);
    std::array<int, kPasses> halves{};
    for (int pass = 0; pass < kPasses; ++pass)
        halves[static_cast<std::size_t>(pass)] = pass < std::lround(lowerCount) ? lower : lower + 1;
    return halves;
}

/// Consecutive pixels of a row or a column.
struct Line {
    std::uint8_t* first;
    std::ptrdiff_t stride; ///< in bytes
    int count;

    std::uint8_t* pixel(int index) const { return first + index * stride; }
};

void average(const Line& line, int half, std::vector<std::uint8_t>& copy) {
    for (int index = 0; index < line.count; ++index)
        std::copy_n(line.pixel(index), kChannels, copy.data() + index * kChannels);
    const int width = 2 * half + 1;
    std::array<int, kChannels> sums{};
    const auto add = [&](int index, int sign) {
        if (index < 0 || index >= line.count)
            return;
        for (std::size_t channel = 0; channel < kChannels; ++channel)
            sums[channel] += sign * copy[static_cast<std::size_t>(index) * kChannels + channel];
    };
    for (int index = 0; index < half; ++index)
        add(index, 1);
    for (int index = 0; index < line.count; ++index) {
        add(index + half, 1);
        add(index - half - 1, -1);
        for (std::size_t channel = 0; channel < kChannels; ++channel)
            line.pixel(index)[channel] = static_cast<std::uint8_t>((sums[channel] + half) / width);
    }
}

} // namespace

void blur(QImage& image, double radius) {
    const int width = image.width();
    const int height = image.height();
    const std::ptrdiff_t rowBytes = image.bytesPerLine();
    std::uint8_t* const bits = image.bits();
    std::vector<std::uint8_t> copy(static_cast<std::size_t>(std::max(width, height)) * kChannels);
    for (const int half : boxes(radius)) {
        if (half < 1)
            continue;
        for (int row = 0; row < height; ++row)
            average({bits + row * rowBytes, kChannels, width}, half, copy);
        for (int column = 0; column < width; ++column)
            average({bits + column * kChannels, rowBytes, height}, half, copy);
    }
}

} // namespace vello
