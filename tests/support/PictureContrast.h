// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/ColorContrast.h"

#include <QImage>

#include <algorithm>
#include <vector>

namespace vello {

/// The colours of a picture, and how often each is in it. Pictures of texts have far fewer colours than
/// pixels.
class PictureColors {
public:
    /// `image` is not empty.
    explicit PictureColors(const QImage& image) {
        std::vector<QRgb> pixels;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                pixels.push_back(image.pixel(x, y));
        std::ranges::sort(pixels);
        for (const QRgb pixel : pixels) {
            if (counts_.empty() || counts_.back().color != pixel)
                counts_.push_back({pixel, 0});
            ++counts_.back().count;
        }
    }

    QColor mostFrequent() const { return std::ranges::max_element(counts_, {}, &Count::count)->color; }
    double largestContrastTo(const QColor& ground) const {
        double largest = 1.0;
        for (const Count& each : counts_)
            largest = std::max(largest, contrastRatio(QColor(each.color), ground));
        return largest;
    }
    /// Of what is drawn on the most frequent colour.
    double contrast() const { return largestContrastTo(mostFrequent()); }

private:
    struct Count {
        QRgb color = 0;
        int count = 0;
    };

    std::vector<Count> counts_;
};

} // namespace vello
