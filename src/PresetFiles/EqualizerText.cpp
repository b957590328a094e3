// SPDX-License-Identifier: Apache-2.0
#include "EqualizerText.h"

#include "Foundation/DisplayText.h"
#include "Foundation/Localization.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>

namespace vello {
namespace {

using Words = std::vector<std::string>;
using Shape = TargetFilter::Shape;

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

/// Text as it comes out of word processors and web pages has typographic minus signs and spaces.
std::string plain(std::string_view line) {
    constexpr std::string_view minus = "\u2212";
    constexpr std::string_view space = "\u00a0";
    std::string text;
    while (!line.empty()) {
        const auto& special = line.starts_with(minus) ? minus : space;
        const bool isSpecial = line.starts_with(special);
        text += !isSpecial ? line.front() : special == minus ? '-' : ' ';
        line.remove_prefix(isSpecial ? special.size() : 1);
    }
    return text;
}

template <class Action> void forEachPart(std::string_view text, std::string_view separators, Action action) {
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(separators), text.size());
        action(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

Words wordsOf(std::string_view text) {
    Words words;
    forEachPart(text, " \t\r\f\x1a", [&](std::string_view word) {
        if (!word.empty())
            words.push_back(lowerCase(word));
    });
    return words;
}

/// `word` without a unit that is written right behind the number.
std::string_view withoutUnit(std::string_view word) {
    for (const std::string_view unit : {"hz", "db"})
        if (word.ends_with(unit))
            return word.substr(0, word.size() - unit.size());
    return word;
}

/// A frequency below what can be heard, with three digits behind a comma, is one with a comma between its
/// thousands: 1,000 is 1000 Hz.
std::optional<double> frequencyOf(std::string_view word) {
    word = withoutUnit(word);
    const bool isInThousands = word.ends_with('k');
    if (isInThousands)
        word.remove_suffix(1);
    auto number = decimalNumber(word);
    const auto comma = word.find(',');
    constexpr double lowestAudible = 20;
    if (number && comma != word.npos && word.size() - comma == 4 && *number < lowestAudible)
        number = *number * 1000;
    return number && isInThousands ? *number * 1000 : number;
}

constexpr double kHighestFilterFrequency = kFitSampleRate / 2;

class Reader {
public:
    TargetCurve read(std::string_view text) {
        const std::string_view lineEnd = text.find('\n') == text.npos ? "\r" : "\n";
        forEachPart(text, lineEnd, [this](std::string_view line) {
            ++line_;
            readLine(trimmedWhiteSpace(line));
        });
        finish();
        return std::move(curve_);
    }

private:
    void readLine(std::string_view line) {
        if (line.empty() || line.starts_with('#'))
            return;
        const std::string text = plain(line);
        const auto colon = std::min(text.find(':'), text.size());
        const std::string command = lowerCase(trimmedWhiteSpace(std::string_view(text).substr(0, colon)));
        readCommand(command, std::string_view(text).substr(std::min(colon + 1, text.size())));
    }

    void readCommand(const std::string& command, std::string_view rest) {
        if (command == "preamp")
            readPreamp(wordsOf(rest));
        else if (command == "graphiceq")
            readGraphic(rest);
        else if (command == "channel")
            readChannel(wordsOf(rest));
        else if (isFilter(command))
            readFilter(wordsOf(rest));
        else
            unread_.insert(line_);
    }

    /// "filter" or "filter 12"
    static bool isFilter(const std::string& command) {
        constexpr std::string_view name = "filter";
        return command.starts_with(name) && std::ranges::all_of(command.substr(name.size()), [](char c) {
                   return c == ' ' || (c >= '0' && c <= '9');
               });
    }

    [[noreturn]] void fail(std::string_view english, std::string_view part = {}) const {
        std::string place = std::to_string(line_);
        if (!part.empty())
            place += " (" + quotedPart(part) + ")";
        throw PresetFileError({english, place});
    }

    void readChannel(const Words& names) {
        const auto has = [&](std::string_view name) { return std::ranges::count(names, name) > 0; };
        hasLeft_ = has("l") || has("left") || has("all") || has("1");
        hasRight_ = has("r") || has("right") || has("all") || has("2");
    }

    /// The channels that the current line is about.
    std::vector<TargetChannel*> channels() {
        std::vector<TargetChannel*> selected;
        if (hasLeft_)
            selected.push_back(&curve_.left);
        if (hasRight_)
            selected.push_back(&curve_.right);
        if (selected.empty())
            unread_.insert(line_);
        return selected;
    }

    void readPreamp(const Words& words) {
        const auto level = words.empty() ? std::nullopt : decimalNumber(withoutUnit(words[0]));
        if (!level || std::abs(*level) > kLargestTargetGain)
            fail(wordingKey(
                "The preamp in line %1 is not a number of decibels such as -6.5. Correct or remove the "
                "line."));
        for (TargetChannel* channel : channels())
            channel->level += *level;
    }

    void readGraphic(std::string_view rest) {
        std::vector<GraphicCurve::Point> points;
        forEachPart(rest, ";", [&](std::string_view part) {
            if (!wordsOf(part).empty())
                points.push_back(pointOf(part));
        });
        if (points.empty())
            fail(wordingKey(
                "The curve in line %1 has no points. Give it some, such as GraphicEQ: 100 -2.5; 1000 0."));
        for (TargetChannel* channel : channels())
            addCurve(*channel, GraphicCurve(points));
    }

    GraphicCurve::Point pointOf(std::string_view part) const {
        const Words words = wordsOf(part);
        if (words.size() == 2) {
            std::string_view first = words[0];
            if (first.ends_with(','))
                first.remove_suffix(1);
            const auto frequency = frequencyOf(first);
            const auto gain = decimalNumber(withoutUnit(words[1]));
            constexpr double highest = 1e6;
            if (frequency && gain && *frequency > 0 && *frequency <= highest &&
                std::abs(*gain) <= kLargestTargetGain)
                return {*frequency, *gain};
        }
        fail(wordingKey(
                 "A point in line %1 is not a frequency and a gain, such as 100 -2.5. Correct or remove it."),
             trimmedWhiteSpace(part));
    }

    void addCurve(TargetChannel& channel, GraphicCurve curve) const {
        checkCount(channel);
        channel.curves.push_back(std::move(curve));
    }

    void checkCount(const TargetChannel& channel) const {
        if (channel.filters.size() + channel.curves.size() >= kMostFilters)
            fail(wordingKey("There are more than 1000 filters before line %1. Remove some."));
    }

    void readFilter(Words words) {
        if (words.empty() || words[0] == "off")
            return;
        if (words[0] == "on")
            words.erase(words.begin());
        if (words.empty() || words[0] == "none")
            return;
        if (const auto shape = shapeOf(words[0]))
            addFilter(words, *shape);
        else
            unknownTypes_.insert(line_);
    }

    static std::optional<Shape> shapeOf(const std::string& word) {
        static const std::map<std::string, Shape> shapes{
            {"pk", Shape::bell},       {"peq", Shape::bell},     {"peaking", Shape::bell},
            {"peak", Shape::bell},     {"bell", Shape::bell},    {"ls", Shape::lowShelf},
            {"lsc", Shape::lowShelf},  {"lsq", Shape::lowShelf}, {"hs", Shape::highShelf},
            {"hsc", Shape::highShelf}, {"hsq", Shape::highShelf}};
        const auto found = shapes.find(word);
        return found == shapes.end() ? std::nullopt : std::optional(found->second);
    }

    /// The word behind `name`; empty if there is none.
    static std::string_view valueOf(const Words& words, std::string_view name) {
        const auto found = std::ranges::find(words, name);
        return found == words.end() || std::next(found) == words.end() ? std::string_view()
                                                                       : std::string_view(*std::next(found));
    }

    void addFilter(const Words& words, Shape shape) {
        TargetFilter filter{.shape = shape, .frequency = frequencyIn(words), .gain = gainIn(words)};
        filter.quality = qualityIn(words, filter);
        if (shape != Shape::bell && !words[0].ends_with('c') && !hasQuality(words))
            filter.frequency = centreOfCorner(filter, slopeIn(words));
        if (filter.frequency >= kHighestFilterFrequency) {
            tooHigh_.insert(line_);
            return;
        }
        for (TargetChannel* channel : channels()) {
            checkCount(*channel);
            channel->filters.push_back(filter);
        }
    }

    double frequencyIn(const Words& words) const {
        const auto word = valueOf(words, "fc");
        auto frequency = frequencyOf(word);
        if (const auto unit = std::ranges::find(words, "khz"); frequency && unit != words.end())
            frequency = *frequency * 1000;
        if (!frequency || *frequency < 1 || *frequency > 1e6)
            fail(wordingKey(
                     "The filter in line %1 has no frequency such as Fc 100 Hz. Correct or remove the line."),
                 word);
        return *frequency;
    }

    double gainIn(const Words& words) const {
        const auto word = valueOf(words, "gain");
        const auto gain = decimalNumber(withoutUnit(word));
        if (!gain || std::abs(*gain) > kLargestTargetGain)
            fail(wordingKey(
                     "The filter in line %1 has no gain such as Gain -2.5 dB. Correct or remove the line."),
                 word);
        return *gain;
    }

    static bool hasQuality(const Words& words) {
        return !valueOf(words, "q").empty() || !valueOf(words, "bw").empty();
    }

    double qualityIn(const Words& words, const TargetFilter& filter) const {
        if (filter.shape != Shape::bell && !hasQuality(words))
            return qualityOfSlope(slopeIn(words), filter.gain);
        const auto word = valueOf(words, "q");
        const auto octaves = decimalNumber(valueOf(words, "oct"));
        const auto quality =
            word.empty() && octaves && *octaves > 0 ? qualityOfBandwidth(*octaves) : decimalNumber(word);
        constexpr double smallest = 0.01;
        constexpr double largest = 1000;
        if (!quality || !(*quality >= smallest && *quality <= largest))
            fail(wordingKey("The filter in line %1 has no width such as Q 1.41. Correct or remove the line."),
                 word);
        return *quality;
    }

    /// The slope S of a shelf that is written with decibels an octave ("LSC 9 dB Fc ..."), or without.
    double slopeIn(const Words& words) const {
        constexpr double usual = 0.9;
        constexpr double steepest = 12; // dB an octave
        const auto slope = words.size() > 1 ? decimalNumber(withoutUnit(words[1])) : std::nullopt;
        if (!slope)
            return usual;
        if (!(*slope > 0 && *slope <= 2 * steepest))
            fail(wordingKey("The shelf in line %1 has no slope such as 12 dB. Correct or remove the line."),
                 words[1]);
        return *slope / steepest;
    }

    /// Plain LS and HS give the frequency at which the shelf begins.
    static double centreOfCorner(const TargetFilter& filter, double slope) {
        const double factor = std::pow(10.0, std::abs(filter.gain) / 80 / slope);
        return filter.shape == Shape::lowShelf ? filter.frequency * factor : filter.frequency / factor;
    }

    void remark(std::string_view english, const std::set<std::size_t>& lines) {
        constexpr std::size_t mostNamed = 8;
        std::string list;
        std::size_t count = 0;
        for (const std::size_t line : lines)
            if (++count <= mostNamed)
                list.append(list.empty() ? "" : ", ").append(std::to_string(line));
        if (count > mostNamed)
            list += ", …";
        if (count > 0)
            curve_.remarks.push_back({english, list});
    }

    void finish() {
        if (curve_.left.isEmpty() && curve_.right.isEmpty())
            throw PresetFileError(
                {wordingKey("The file has no curve for left or right: no GraphicEQ line, and no bell "
                            "or shelf that is on. Choose another.")});
        // TRANSLATORS: Bell and shelf are forms of a filter’s response. %1 are numbers of lines.
        remark(wordingKey("Filters of other types than bell and shelf are left out. Their lines: %1."),
               unknownTypes_);
        remark(wordingKey("Filters at 24 kHz and above are left out. Their lines: %1."), tooHigh_);
        remark(wordingKey("Lines that VELLO does not read are left out: %1."), unread_);
    }

    TargetCurve curve_;
    std::size_t line_ = 0;
    bool hasLeft_ = true, hasRight_ = true;
    std::set<std::size_t> unknownTypes_, tooHigh_, unread_;
};

} // namespace

TargetCurve readEqualizerText(std::string_view text) {
    return Reader().read(text);
}

} // namespace vello
