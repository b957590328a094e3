// SPDX-License-Identifier: Apache-2.0
#include "VelloSettings.h"

#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace vello::session {

std::filesystem::path settingsFile(const PrivateAudioSession& session) {
    return session.dataHome() / "EQ by QUORVIN" / "settings.json";
}

void writeSettings(const PrivateAudioSession& session, const std::map<std::string, SourceSettings>& sources,
                   int presets) {
    nlohmann::json payload = {
        {"version", 1}, {"sources", nlohmann::json::object()}, {"userPresets", nlohmann::json::array()}};
    for (const auto& [source, settings] : sources) {
        auto& entry = payload["sources"][source];
        entry = {{"bandGains", settings.bandGains},
                 {"isBypassed", settings.isBypassed},
                 {"volume", settings.volume}};
        if (!settings.output.empty())
            entry["outputDeviceUID"] = settings.output;
    }
    for (int i = 0; i < presets; ++i)
        payload["userPresets"].push_back({{"name", "Preset " + std::to_string(i)},
                                          {"bandGains", {i % 12, i % 7, 0.5, 0, 0, -i % 11, -i % 5, 1}}});
    const auto file = settingsFile(session);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::trunc);
    stream << payload.dump(2);
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

} // namespace vello::session
