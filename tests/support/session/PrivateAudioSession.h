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
    std::string name;        ///< node name, which is the device's UID
    std::string description; ///< the name shown to the user
    int channels = 2;        ///< at most kMostChannels, in the usual positions
    std::string mediaClass = "Audio/Sink";
};

struct SessionOptions {
    int sampleRate = 48000;             ///< initial rate in Hz
    std::vector<int> allowedRates = {}; ///< Hz; empty: only sampleRate
    int quantum = 1024;                 ///< frames per cycle, unless a client requests another number
    int minimumQuantum = 32;            ///< frames
    int maximumQuantum = 2048;          ///< frames
    std::vector<VirtualOutput> outputs = {{"output-a", "Output A"}, {"output-b", "Output B"}};
    std::string restrictedProgram = {}; ///< absolute name of one that may look but not touch; empty: none
};

/// A private sound server: bus, PipeWire, session manager and PulseAudio server in private folders, with
/// virtual outputs and without any hardware. Everything ends with the object.
///
/// The user's own session is neither visible to it nor affected. Control thread of the test only.
class PrivateAudioSession {
public:
    /// Returns when the outputs exist and the default output is known. Throws std::runtime_error with the
    /// servers' logs after ten seconds.
    explicit PrivateAudioSession(SessionOptions options = {});
    ~PrivateAudioSession();
    PrivateAudioSession(const PrivateAudioSession&) = delete;
    PrivateAudioSession& operator=(const PrivateAudioSession&) = delete;

    /// For all programs in the session.
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

    /// Starts a program in the session; its output is written to the file `name`.log in the folder.
    std::unique_ptr<ChildProcess> start(const std::string& name,
                                        const std::vector<std::string>& arguments) const;
    /// Runs a program in the session to its end and returns its output; throws like runProgram.
    std::string run(const std::vector<std::string>& arguments) const;

    /// Sends a signal to all sound servers.
    void signalServers(int number) const;
    /// Kills the sound servers; the bus stays.
    void killServers();
    /// Starts them again on the same sockets, with the saved state.
    void startServers();
    /// The same for a single server. Does not wait for the session manager.
    void killSessionManager() { sessionManager_.reset(); }
    void startSessionManager();
    void killPulseServer() { pulseServer_.reset(); }
    void startPulseServer();

    /// Writes a desktop entry of the application `id` (without ".desktop") to the session's own data folder.
    /// With an empty `icon` the icon has the application's name.
    void writeDesktopEntry(const std::string& id, const std::string& name, const std::string& executable,
                           const std::string& icon = {}) const;
    /// All output of the servers.
    std::string logs() const;

private:
    void writeConfiguration() const;
    void startBus();
    void waitUntilReady();

    /// A folder that is removed with its content, even when the session could not be started.
    struct TemporaryFolder {
        TemporaryFolder();
        ~TemporaryFolder();
        TemporaryFolder(const TemporaryFolder&) = delete;
        TemporaryFolder& operator=(const TemporaryFolder&) = delete;

        std::filesystem::path path;
    };

    SessionOptions options_;
    // Declared before the programs, so that it is removed after they have ended.
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
