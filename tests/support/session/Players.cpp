// SPDX-License-Identifier: Apache-2.0
#include "Players.h"

#include "Signals.h"

#include <iomanip>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <sndfile.h>

namespace vello::session {
namespace {

using Arguments = std::vector<std::string>;

/// Adds the options that have a value.
Arguments withValues(Arguments arguments, const std::vector<std::pair<std::string, std::string>>& options) {
    for (const auto& [name, value] : options)
        if (!value.empty())
            arguments.push_back("--" + name + "=" + value);
    return arguments;
}

Arguments nativePlayer(const PlayerOptions& options) {
    auto result =
        withValues({VELLO_SIGNAL_PLAYER}, {{"signal", options.signal},
                                           {"node-name", options.name},
                                           {"app-name", options.name},
                                           {"app-id", options.applicationID},
                                           {"target", options.output},
                                           {"rate", std::to_string(options.sampleRate)},
                                           {"latency", std::to_string(options.latency)},
                                           {"channels", std::to_string(options.channels)},
                                           {"format", options.isEncoded ? "ac3" : name(options.format)}});
    for (const auto& property : options.properties)
        result.push_back("--property=" + property);
    for (const auto& property : options.clientProperties)
        result.push_back("--client-property=" + property);
    return result;
}

Arguments pulsePlayer(const PlayerOptions& options, const std::string& file) {
    const auto property = options.applicationID.empty() ? "" : "application.id=" + options.applicationID;
    auto result = withValues({"pacat", "--playback", "--raw", "--format=float32le", "--channels=2"},
                             {{"latency-msec", "60"},
                              {"rate", std::to_string(options.sampleRate)},
                              {"client-name", options.name},
                              {"stream-name", options.name},
                              {"property", property},
                              {"device", options.output}});
    for (const auto& more : options.properties)
        result.push_back("--property=" + more);
    result.push_back(file);
    return result;
}

Arguments alsaPlayer(const PlayerOptions& options, const std::string& file) {
    const auto device = options.output.empty() ? std::string("pipewire") : "pipewire:NODE=" + options.output;
    return {"aplay",
            "-q",
            "-D",
            device,
            "-t",
            "raw",
            "-f",
            "FLOAT_LE",
            "-c",
            "2",
            "--buffer-size=8192",
            "-r",
            std::to_string(options.sampleRate),
            file};
}

Arguments commandLinePlayer(const PlayerOptions& options, const std::string& file) {
    const auto properties = "{ node.name = \"" + options.name + "\" application.name = \"" + options.name +
                            "\" application.id = \"" + options.applicationID + "\" }";
    auto result =
        withValues({"pw-cat", "--playback"}, {{"properties", properties}, {"target", options.output}});
    result.push_back(file);
    return result;
}

/// Writes the signal to a file of float samples, without a header or as WAV.
std::string writeSignal(const PrivateAudioSession& session, const PlayerOptions& options, int seconds,
                        int format) {
    const auto file = session.folder() / (options.name + ".sound");
    const auto frames = static_cast<std::size_t>(options.sampleRate) * static_cast<std::size_t>(seconds);
    const auto samples = renderSignal(options.signal, options.sampleRate, frames, 2);
    SF_INFO info{};
    info.samplerate = options.sampleRate;
    info.channels = 2;
    info.format = format | SF_FORMAT_FLOAT;
    SNDFILE* sound = sf_open(file.c_str(), SFM_WRITE, &info);
    const auto written = sf_writef_float(sound, samples.data(), static_cast<sf_count_t>(frames));
    if (sf_close(sound) != 0 || written != static_cast<sf_count_t>(frames))
        throw std::runtime_error("cannot write " + file.string());
    return file;
}

Arguments command(const PrivateAudioSession& session, PlayerKind kind, const PlayerOptions& options,
                  int seconds) {
    switch (kind) {
    case PlayerKind::native:
        return nativePlayer(options);
    case PlayerKind::pulseAudio:
        return pulsePlayer(options, writeSignal(session, options, seconds, SF_FORMAT_RAW));
    case PlayerKind::alsa:
        return alsaPlayer(options, writeSignal(session, options, seconds, SF_FORMAT_RAW));
    case PlayerKind::commandLine:
        return commandLinePlayer(options, writeSignal(session, options, seconds, SF_FORMAT_WAV));
    case PlayerKind::jack:
        return {VELLO_SIGNAL_FILTER, options.name};
    }
    throw std::invalid_argument("no such kind of player");
}

} // namespace

std::string constantSignal(double value) {
    std::ostringstream text;
    text << "constant=" << std::setprecision(std::numeric_limits<double>::max_digits10) << value;
    return text.str();
}

std::string name(PlayerKind kind) {
    static constexpr const char* names[] = {"native", "pulseAudio", "alsa", "commandLine", "jack"};
    return names[static_cast<std::size_t>(kind)];
}

std::unique_ptr<ChildProcess> startPlayer(const PrivateAudioSession& session, PlayerKind kind,
                                          const PlayerOptions& options, int seconds) {
    return session.start("player-" + options.name, command(session, kind, options, seconds));
}

} // namespace vello::session
