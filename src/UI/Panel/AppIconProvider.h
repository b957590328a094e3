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

/// Finds the icons of applications and caches them by bundle identifier. Icons are untrusted files, so a
/// separate program reads them, for one application at a time. Never blocks. Main thread only.
class AppIconProvider : public QObject {
    Q_OBJECT

public:
    /// `applications` must outlive the provider. `program` is the path of kApplicationIconProgram; without
    /// that program there are no icons.
    AppIconProvider(RunningApplications& applications, std::filesystem::path program);
    /// Kills the program.
    ~AppIconProvider() override;

    /// The icon if it is known. Otherwise null, and a search starts: found() follows when there is an icon. A
    /// failed search is repeated on the next call.
    QIcon icon(const AppAudioSource& source);
    /// The icon if it is known, else null. Does not start a search.
    QIcon knownIcon(const AppAudioSource& source) const;
    bool isLooking() const { return !requests_.empty(); }

signals:
    /// Another icon is known.
    void found();
    /// The last pending search has ended, with or without an icon.
    void finished();

private:
    struct Request {
        std::string key;
        QStringList names; ///< candidate names, the likeliest first
    };

    std::optional<RunningApplication> applicationOf(const AppAudioSource& source) const;
    Request requestFor(const AppAudioSource& source) const;
    void startNext();
    void finish();

    RunningApplications& applications_;
    const std::filesystem::path program_;
    std::map<std::string, QIcon> found_;
    std::deque<Request> requests_; ///< the first one is in progress
    QProcess process_;
};

} // namespace vello
