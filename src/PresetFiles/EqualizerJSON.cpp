// SPDX-License-Identifier: Apache-2.0
#include "EqualizerJSON.h"

#include "Foundation/Localization.h"
#include <cmath>
#include <optional>

#include <nlohmann/json.hpp>

namespace vello {
namespace {

using nlohmann::json;

/// Null if `object` has no such member.
const json* memberOf(const json& object, const std::string& key) {
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found == object.end() ? nullptr : &*found;
}

bool isTrue(const json& object, const std::string& key) {
    const json* member = memberOf(object, key);
    return member && member->is_boolean() && member->get<bool>();
}

std::string wordIn(const json& object, const std::string& key, const std::string& otherwise) {
    const json* member = memberOf(object, key);
    return member && member->is_string() ? member->get<std::string>() : otherwise;
}

[[noreturn]] void failAt(std::string_view english, const std::string& place) {
    throw PresetFileError({english, quotedPart(place)});
}

double numberIn(const json& object, const std::string& key, double lowest, double highest,
                const std::string& place) {
    const json* member = memberOf(object, key);
    const double number = member && member->is_number() ? member->get<double>() : std::nan("");
    if (!(number >= lowest && number <= highest))
        // TRANSLATORS: %1 is a place in the file, such as equalizer#0.left.
        failAt(wordingKey("%1 is missing in the file, or is not a usable number. Export the preset again."),
               place + " " + key);
    return number;
}

std::optional<TargetFilter::Shape> shapeOfType(const std::string& type) {
    if (type == "Bell")
        return TargetFilter::Shape::bell;
    if (type == "Lo-shelf")
        return TargetFilter::Shape::lowShelf;
    if (type == "Hi-shelf")
        return TargetFilter::Shape::highShelf;
    return std::nullopt;
}

class EqualizerReader {
public:
    TargetCurve read(const json& root) {
        const json* output = memberOf(root, "output");
        const json* input = memberOf(root, "input");
        const json& section = output ? *output : input ? *input : root;
        if (section.is_object())
            for (const auto& [name, equalizer] : section.items())
                if ((name == "equalizer" || name.starts_with("equalizer#")) && equalizer.is_object())
                    readEqualizer(equalizer);
        finish();
        return std::move(curve_);
    }

private:
    void readEqualizer(const json& equalizer) {
        hasEqualizer_ = true;
        if (isTrue(equalizer, "bypass"))
            return;
        const json* left = memberOf(equalizer, "left");
        const json* right = memberOf(equalizer, "right");
        if (!left)
            failAt(wordingKey("The equalizer in the file has no %1. Export the preset again."), "left");
        readChannel(*left, curve_.left, "left");
        if (right && isTrue(equalizer, "split-channels"))
            readChannel(*right, curve_.right, "right");
        else
            readChannel(*left, curve_.right, "left");
        for (const char* level : {"input-gain", "output-gain"})
            if (memberOf(equalizer, level))
                addLevel(numberIn(equalizer, level, -kLargestTargetGain, kLargestTargetGain, "equalizer"));
    }

    void addLevel(double level) {
        curve_.left.level += level;
        curve_.right.level += level;
    }

    void readChannel(const json& bands, TargetChannel& channel, const std::string& name) {
        if (!bands.is_object())
            failAt(wordingKey("The equalizer in the file has no bands in %1. Export the preset again."),
                   name);
        for (const auto& [key, band] : bands.items())
            if (key.starts_with("band") && band.is_object() && !isTrue(band, "mute"))
                readBand(band, channel, name + " " + key);
    }

    void readBand(const json& band, TargetChannel& channel, const std::string& place) {
        const std::string type = wordIn(band, "type", "Bell");
        if (type == "Off")
            return;
        const auto shape = shapeOfType(type);
        if (!shape) {
            // TRANSLATORS: Bell and shelf are forms of a filter’s response.
            remarkOnce(wordingKey("Filters of other types than bell and shelf are left out, such as %1."),
                       place);
            return;
        }
        if (channel.filters.size() >= kMostFilters)
            failAt(wordingKey("There are more than 1000 filters before %1. Remove some."), place);
        addBand(band, *shape, channel, place);
    }

    void addBand(const json& band, TargetFilter::Shape shape, TargetChannel& channel,
                 const std::string& place) {
        const TargetFilter filter{.shape = shape,
                                  .frequency = numberIn(band, "frequency", 1, 1e6, place),
                                  .gain =
                                      numberIn(band, "gain", -kLargestTargetGain, kLargestTargetGain, place),
                                  .quality = numberIn(band, "q", 0.01, 1000, place)};
        const bool isExact =
            wordIn(band, "mode", "APO (DR)") == "APO (DR)" && wordIn(band, "slope", "x1") == "x1";
        if (!isExact && filter.gain != 0)
            remarkOnce(
                wordingKey(
                    "Filters of other modes than APO (DR) with slope x1 are read as if they were of it, such "
                    "as %1."),
                place);
        if (filter.frequency < kFitSampleRate / 2)
            channel.filters.push_back(filter);
        else
            remarkOnce(wordingKey("Filters at 24 kHz and above are left out, such as %1."), place);
    }

    void remarkOnce(std::string_view english, const std::string& place) {
        for (const PresetRemark& remark : curve_.remarks)
            if (remark.english == english)
                return;
        curve_.remarks.push_back({english, quotedPart(place)});
    }

    void finish() const {
        if (!hasEqualizer_)
            throw PresetFileError(
                {wordingKey("The file has neither presets of VELLO nor an equalizer of EasyEffects. Choose "
                            "another.")});
        if (curve_.left.isEmpty() && curve_.right.isEmpty())
            throw PresetFileError(
                {wordingKey("The equalizer in the file has no bell or shelf that is on. Choose another.")});
    }

    TargetCurve curve_;
    bool hasEqualizer_ = false;
};

} // namespace

TargetCurve readEqualizerJSON(const json& root) {
    return EqualizerReader().read(root);
}

} // namespace vello
