// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include <chrono>
#include <functional>
#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace vello {

/// The desktop's permission store, a service on the user's session bus, and VELLO's entry in it: table
/// "vello", id "capture", the application com.quorvin.Vello with "yes" or "no".
///
/// One thread.
class PermissionStore final : public QObject {
    Q_OBJECT

public:
    /// Absent: this bus has no permission store.
    using Answer = std::optional<Consent>;
    using OnAnswer = std::function<void(Answer answer)>;

    static constexpr std::chrono::milliseconds longestWait{5000};

    /// On a bus to which the caller has connected.
    explicit PermissionStore(const QDBusConnection& bus);

    /// Waits for the answer. Throws std::runtime_error with a sentence when it does not come in time.
    Answer lookUp(std::chrono::milliseconds patience = longestWait) const;
    /// Waits until the answer is stored. False: this bus has no permission store. Throws as lookUp() does.
    bool store(Consent answer) const;

    /// Reads the answer. When it does not come within `longestWait`, `onAnswer` does not run.
    void read(OnAnswer onAnswer);
    /// Reads it whenever it may have changed.
    void follow(OnAnswer onAnswer);

private Q_SLOTS:
    void mayHaveChanged();

private:
    const QDBusConnection bus_;
    QDBusServiceWatcher services_;
    OnAnswer onChange_;
};

} // namespace vello
