// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AppAudioSource.h"
#include "Ports/RunningApplications.h"

#include <QIcon>
#include <QProcess>

#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// Finds the icons of applications, and remembers those that it found by their bundle identifier. A program
/// of its own reads the files, one application after another, because they are strangers': nothing here waits
/// for it. Main thread only.
class AppIconProvider : public QObject {
    Q_OBJECT

public:
    /// `applications` outlives the provider. `program` is that of kApplicationIconProgram; without it there
    /// are no icons.
    AppIconProvider(RunningApplications& applications, std::filesystem::path program);
    /// Ends the program.
    ~AppIconProvider() override;

    /// The icon, when it has been found. Otherwise null, and it is looked for: found() follows if there is
    /// one. Where there was none the next call looks again.
    QIcon icon(const AppAudioSource& source);
    /// The same without looking for it.
    QIcon knownIcon(const AppAudioSource& source) const;
    bool isLooking() const { return !requests_.empty(); }

signals:
    /// One more icon is known.
    void found();
    /// The last of the icons that were looked for is known, or does not exist.
    void finished();

private:
    struct Request {
        std::string key;
        QStringList names; ///< what the icon may be called, the likeliest first
    };

    std::optional<RunningApplication> applicationOf(const AppAudioSource& source) const;
    Request requestFor(const AppAudioSource& source) const;
    void startNext();
    void finish();

    RunningApplications& applications_;
    const std::filesystem::path program_;
    std::map<std::string, QIcon> found_;
    std::deque<Request> requests_; ///< the first is being looked for
    QProcess process_;
};

} // namespace vello
