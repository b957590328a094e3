// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetCloudStore.h"

#include "Foundation/Product.h"
#include "Models/SettingsCoding.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace vello {
namespace {

constexpr std::string_view kKey = "userEQPresets";

PresetCloudStore::Presets decodePresets(std::string_view text) {
    const nlohmann::json list = parseJSON(text);
    if (!list.is_array())
        throw CodingError(std::string("the list of presets is ").append(list.type_name()));
    PresetCloudStore::Presets presets;
    for (const nlohmann::json& value : list) {
        UserEQPreset preset = decodeUserPreset(value);
        if (preset.bandGains.size() == EQSettings::bandCount)
            presets.push_back(std::move(preset));
    }
    return presets;
}

std::string encodePresets(const PresetCloudStore::Presets& presets) {
    auto list = nlohmann::ordered_json::array();
    for (const UserEQPreset& preset : presets)
        list.push_back(encode(preset));
    return writeJSON(list, JSONLayout::compact);
}

} // namespace

PresetCloudStore::PresetCloudStore(KeyValueStore& store, SystemLog& log)
    : store_(store), logger_(log, kBundleIdentifier, "PresetCloudStore") {}

PresetCloudStore::~PresetCloudStore() {
    if (isObserving_)
        store_.onDidChangeExternally(nullptr);
}

std::optional<PresetCloudStore::Presets> PresetCloudStore::load() {
    const std::optional<std::string> data = store_.data(kKey);
    if (!data)
        return std::nullopt;
    try {
        return decodePresets(*data);
    } catch (const CodingError& error) {
        logger_.error(std::string("iCloud presets undecodable: ").append(error.what()));
        return std::nullopt;
    }
}

void PresetCloudStore::save(const Presets& presets) {
    std::string text;
    try {
        text = encodePresets(presets);
    } catch (const CodingError& error) {
        logger_.error(std::string("Failed to encode presets for iCloud: ").append(error.what()));
        return;
    }
    store_.setData(kKey, text);
    store_.synchronize();
}

void PresetCloudStore::startObserving() {
    if (isObserving_)
        return;
    isObserving_ = true;
    store_.onDidChangeExternally([this] { externalChange(); });
    store_.synchronize();
}

void PresetCloudStore::externalChange() {
    const std::optional<Presets> presets = load();
    if (presets && onExternalChange_)
        onExternalChange_(*presets);
}

} // namespace vello
