// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Nearest.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace vello {
namespace {

constexpr std::size_t kLongestCompared = 64; ///< bytes
constexpr std::size_t kLongestNearWord = 60; ///< columns

using Row = std::array<std::size_t, kLongestCompared + 1>;

std::string folded(std::string_view word) {
    std::string result(word);
    std::ranges::transform(result, result.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

/// The edit distance of two texts, by the rows of the usual table.
std::size_t distance(std::string_view first, std::string_view second) {
    Row beforeLast{};
    Row last{};
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= first.size(); ++i) {
        Row row{i};
        for (std::size_t j = 1; j <= second.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (first[i - 1] == second[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            const bool isSwapped =
                i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1];
            if (isSwapped)
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last[second.size()];
}

/// One typing error in three characters is still the same word.
std::size_t mostEdits(std::size_t length) {
    return std::max<std::size_t>(1, length / 3);
}

} // namespace

std::string nearestWord(std::string_view word, std::span<const std::string> known) {
    if (word.size() < 2 || word.size() > kLongestCompared)
        return {};
    const std::string meant = folded(word);
    std::size_t least = mostEdits(word.size()) + 1;
    const std::string* nearest = nullptr;
    for (const std::string& candidate : known) {
        const std::size_t difference =
            std::max(candidate.size(), word.size()) - std::min(candidate.size(), word.size());
        if (candidate.size() > kLongestCompared || difference >= least)
            continue;
        if (const std::size_t edits = distance(meant, folded(candidate)); edits < least) {
            least = edits;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? std::string() : *nearest;
}

std::string didYouMean(std::string_view word, std::span<const std::string> known) {
    const std::string nearest = nearestWord(word, known);
    if (nearest.empty())
        return {};
    return std::string("did you mean \"").append(fittedText(nearest, kLongestNearWord)).append("\"? ");
}

std::string orDidYouMean(std::string_view word, std::span<const std::string> known) {
    const std::string question = didYouMean(word, known);
    return question.empty() ? "" : "; " + question.substr(0, question.size() - 1);
}

} // namespace vello
