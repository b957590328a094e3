// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AppAudioSource.h"
#include "Platform/RunningApplications.h"

#include <QIcon>

#include <map>
#include <string>

namespace vello {

/// Finds the icons of applications, and remembers those that it found by their bundle identifier. Main thread
/// only.
class AppIconProvider {
public:
    /// `applications` outlives the provider.
    explicit AppIconProvider(RunningApplications& applications) : applications_(applications) {}

    /// Null when there is none; the next call looks again.
    QIcon icon(const AppAudioSource& source);

private:
    QIcon runningIcon(const AppAudioSource& source);

    RunningApplications& applications_;
    std::map<std::string, QIcon> found_;
};

} // namespace vello
