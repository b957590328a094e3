// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/XSettingsChoices.h"

#include <QObject>

#include <memory>

namespace vello {

/// The settings that the X11 desktop's settings manager publishes (XSETTINGS), kept up to date, also when the
/// manager starts, ends or is replaced. Without a manager there are none. Main thread only; waits only for
/// the X server.
class XSettingsWatch : public QObject {
    Q_OBJECT

public:
    /// Null when the toolkit does not run on X11.
    static std::unique_ptr<XSettingsWatch> ofToolkit();
    ~XSettingsWatch() override;

    const XSettings& settings() const { return settings_; }

signals:
    void changed();

private:
    struct Connection;
    explicit XSettingsWatch(std::unique_ptr<Connection> connection);

    void takeEvents();
    void read();

    std::unique_ptr<Connection> connection_;
    XSettings settings_;
};

} // namespace vello
