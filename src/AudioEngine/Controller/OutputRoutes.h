// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "Foundation/Published.h"
#include "Models/AudioOutputRoute.h"
#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <map>
#include <memory>
#include <vector>

namespace vello {

/// The outputs that the user can choose, updated when a device is added, removed, renamed or becomes the
/// default. Main thread only.
class OutputRoutes {
public:
    /// Both must outlive the object.
    OutputRoutes(AudioHardware& hardware, SystemLog& log) : hardware_(hardware), log_(log) {}
    ~OutputRoutes();
    OutputRoutes(const OutputRoutes&) = delete;
    OutputRoutes& operator=(const OutputRoutes&) = delete;

    /// Reads the outputs and starts listening for changes.
    void start();
    /// Stops listening; the routes keep their last value.
    void stop();

    /// The default first, see readOutputRoutes().
    const Published<std::vector<AudioOutputRoute>>& routes() const { return routes_; }

private:
    using Observer = std::unique_ptr<CoreAudioPropertyObserver>;

    Observer observe(AudioObjectID object, FourCharCode selector);
    void readAgain();
    void observeNames();
    void keepNamesOf(const std::vector<AudioObjectID>& devices);
    bool isOwnAggregate(AudioObjectID device) const;

    AudioHardware& hardware_;
    SystemLog& log_;
    Published<std::vector<AudioOutputRoute>> routes_;
    Observer devices_;
    Observer defaultDevice_;
    std::map<AudioObjectID, Observer> names_; ///< by device
};

} // namespace vello
