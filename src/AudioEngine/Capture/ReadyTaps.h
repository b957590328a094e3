// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessGroup.h"
#include "AudioEngine/Capture/ProcessTap.h"
#include "AudioEngine/Capture/SpareDevice.h"
#include "AudioEngine/Capture/TapServices.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// Running taps of applications that do not play: they have stopped, or have just appeared. The last eight
/// stay for ten minutes each, so that the next sound of an application is heard with its settings from the
/// first sample. Meanwhile nothing plays into a tap, its callback does not run, and most of its memory is
/// released. A tap whose application has neutral settings is not kept. Main thread only.
class ReadyTaps {
public:
    /// Returns the settings in force for a source.
    using SettingsProvider = std::function<EQSettings(const std::string& sourceID)>;
    struct Entry {
        std::shared_ptr<ProcessTap> tap;
        AudioProcessGroup group; ///< the application and the processes that the tap captures
    };

    /// The services must outlive the object.
    ReadyTaps(const TapServices& services, SettingsProvider settingsInForce);

    /// Keeps the tap, or invalidates it if there is no use for it.
    void keep(const std::string& sourceID, Entry entry);
    /// The caller becomes the owner of the tap. Absent when there is none, or its device is gone.
    std::optional<Entry> take(const std::string& sourceID);
    std::vector<const Entry*> entries() const;

    /// Whether applications that have no tap may need one soon. The audio system then makes a device for the
    /// next one in advance. Initially not.
    void setExpectsApplications(bool expectsApplications);
    /// Call when a process of an application that does not play has appeared; the group has this process
    /// alone. The application's tap captures it, too. An application that has no tap gets one, with that
    /// device.
    void processAppeared(AudioProcessGroup group);
    /// Call after the settings of this source have changed; those of the system may affect every application.
    void settingsDidChange(const std::string& sourceID);
    /// Call when an output device or its format has changed: replaces every tap.
    void renewAll();
    /// Invalidates the taps whose devices are gone, as after a lost connection.
    void dropDead();
    /// Invalidates all taps.
    void clear();

private:
    struct Ready {
        Entry entry;
        MainThread::Instant since;
        TaskHandle expiry;
        TaskHandle renewal = {};
    };

    std::vector<std::string> sourceIDs() const;
    void drop(const std::string& sourceID);
    void dropOldest();
    void applySettings(const std::string& sourceID);
    void renew(const std::string& sourceID, AudioProcessGroup group);
    void renewSoon(const std::string& sourceID);
    void prepare(AudioProcessGroup group);
    void activate(const std::shared_ptr<ProcessTap>& tap, AudioProcessGroup group);
    bool isProcess(AudioObjectID object) const;
    void spareIsReady();

    const TapServices services_;
    const SettingsProvider settingsInForce_;
    std::map<std::string, Ready> ready_;
    SpareDevice spare_;
    std::optional<AudioProcessGroup> awaitingSpare_; ///< gets a tap as soon as the spare device is ready
};

} // namespace vello
