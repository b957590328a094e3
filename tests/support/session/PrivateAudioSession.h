// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vello::session {

/// A virtual output device of the session.
struct VirtualOutput {
    std::string name;        ///< node name, the device's UID
    std::string description; ///< what people read
    int channels = 2;        ///< at most mostChannels, in the usual positions
    std::string mediaClass = "Audio/Sink";
};

struct SessionOptions {
    int sampleRate = 48000;             ///< Hz, at the start
    std::vector<int> allowedRates = {}; ///< Hz; empty: only sampleRate
    int quantum = 1024;                 ///< frames of a cycle, as long as nobody asks for others
    int minimumQuantum = 32;            ///< frames
    int maximumQuantum = 2048;          ///< frames
    std::vector<VirtualOutput> outputs = {{"output-a", "Output A"}, {"output-b", "Output B"}};
};

/// A sound server of the test's own: bus, PipeWire, session manager and PulseAudio server in folders of their
/// own, with virtual outputs and without any hardware. Everything ends with the object.
///
/// Nothing of the user's own session is seen or touched. Control thread of the test only.
class PrivateAudioSession {
public:
    /// Returns when the outputs are there and the default output is known. Throws std::runtime_error with the
    /// servers' logs when that takes longer than ten seconds.
    explicit PrivateAudioSession(SessionOptions options = {});
    ~PrivateAudioSession();
    PrivateAudioSession(const PrivateAudioSession&) = delete;
    PrivateAudioSession& operator=(const PrivateAudioSession&) = delete;

    /// For every program that is to live in the session.
    const Environment& environment() const { return environment_; }
    /// Absolute name of PipeWire's socket.
    std::string socket() const { return (runtime_ / "pipewire-0").string(); }
    const std::filesystem::path& folder() const { return folder_; }
    std::filesystem::path dataHome() const { return folder_ / "data"; }
    std::filesystem::path stateHome() const { return folder_ / "state"; }
    const SessionOptions& options() const { return options_; }
    pid_t serverProcess() const { return server_->pid(); }
    const ChildProcess& sessionManager() const { return *sessionManager_; }
    const ChildProcess& pulseServer() const { return *pulseServer_; }

    /// Starts a program inside the session; its output lands in the file `name`.log of the folder.
    std::unique_ptr<ChildProcess> start(const std::string& name,
                                        const std::vector<std::string>& arguments) const;
    /// Runs a program of the session to its end and returns its output; throws like runProgram.
    std::string run(const std::vector<std::string>& arguments) const;

    /// Sends a signal to each of the sound servers.
    void signalServers(int number) const;
    /// Kills the sound servers the hard way; the bus stays.
    void killServers();
    /// Starts them again on the same sockets, with the saved state of before.
    void startServers();
    /// The same of one of them alone. The session manager is not waited for.
    void killSessionManager() { sessionManager_.reset(); }
    void startSessionManager();
    void killPulseServer() { pulseServer_.reset(); }
    void startPulseServer();

    /// A desktop entry of the application `id` (without ".desktop") in the session's own data folder. An
    /// empty `icon`: named as the application.
    void writeDesktopEntry(const std::string& id, const std::string& name, const std::string& executable,
                           const std::string& icon = {}) const;
    /// Everything that the servers wrote.
    std::string logs() const;

private:
    void writeConfiguration() const;
    void startBus();
    void waitUntilReady();

    /// A folder that is removed with everything in it, also when the session could not be started.
    struct TemporaryFolder {
        TemporaryFolder();
        ~TemporaryFolder();
        TemporaryFolder(const TemporaryFolder&) = delete;
        TemporaryFolder& operator=(const TemporaryFolder&) = delete;

        std::filesystem::path path;
    };

    SessionOptions options_;
    // Before the programs, which end before it goes.
    TemporaryFolder temporaryFolder_;
    const std::filesystem::path& folder_ = temporaryFolder_.path;
    std::filesystem::path runtime_;
    Environment environment_;
    std::unique_ptr<ChildProcess> bus_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> sessionManager_;
    std::unique_ptr<ChildProcess> pulseServer_;
};

} // namespace vello::session
