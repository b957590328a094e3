// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Consent/LinuxConsentStore.h"
#include "Platform/Linux/Consent/PermissionStore.h"
#include "Platform/Linux/System/FolderWatch.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

namespace vello {

class BusConnection;

/// Keeps up with the user's answer. When the permission store goes away, its last answer holds until it is
/// back. Main thread only.
class ConsentWatch final : public QObject {
    Q_OBJECT

public:
    /// Returns when the answer is known, at the latest after two seconds. `onChange` runs when another answer
    /// is in force.
    ConsentWatch(ConsentPlaces places, std::function<void()> onChange);
    /// Waits for a connection that is just being made.
    ~ConsentWatch() override;

    /// The last answer.
    Consent consent() const { return consent_; }
    /// Reads the answer where it is kept. `onRead` does not run when the permission store does not answer.
    void read(std::function<void(Consent consent)> onRead);

private Q_SLOTS:
    void busIsGone();

private:
    void awaitFirstAnswer();
    std::future<void> beginToConnect();
    void connected();
    void couldNotConnect();
    void tryAgainLater();
    void storeAnswered(PermissionStore::Answer answer);
    void storeIsMissing();
    void publish();

    const ConsentPlaces places_;
    const std::function<void()> onChange_;
    Consent consent_ = Consent::undecided;
    std::optional<Consent> stored_; ///< the permission store's last answer
    bool isStoreMissing_ = false;   ///< and so the file is in force
    bool hadBus_ = false;

    FolderWatch files_;
    std::optional<QSocketNotifier> fileNotifier_;
    std::unique_ptr<BusConnection> connection_; ///< written by the thread until it has ended
    std::unique_ptr<PermissionStore> store_;
    QTimer retry_;
    std::chrono::seconds pause_; ///< before the next try
    std::jthread connecting_;    ///< a silent bus would stop the main thread
};

} // namespace vello
