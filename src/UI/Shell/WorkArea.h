// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QRect>
#include <QScreen>
#include <QString>

#include <optional>

namespace vello {

/// The part of a screen that bars leave free, which Wayland itself does not reveal: as Plasma or sway report
/// it, in logical pixels of the whole desktop. Absent on other desktops. Main thread only; waits for an
/// answer for at most 0.2 s.
std::optional<QRect> workAreaOfDesktop(const QScreen& screen, const QDBusConnection& bus);

/// The work area of the workspace that is visible on the output of this name, in sway's answer to "get
/// workspaces". `screen` is the output's whole area. The gaps that sway leaves at all edges are not a bar.
std::optional<QRect> workAreaOfWorkspaces(const QByteArray& answer, const QString& output,
                                          const QRect& screen);

/// The name of the output that the user works on, as sway reports it. Absent on other desktops. Main thread
/// only; waits as workAreaOfDesktop().
std::optional<QString> focusedOutputOfDesktop();

/// The output of the workspace that has the focus, in the same answer.
std::optional<QString> focusedOutputOfWorkspaces(const QByteArray& answer);

} // namespace vello
