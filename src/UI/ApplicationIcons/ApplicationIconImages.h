// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QIcon>

namespace vello {

/// File name of the program that draws the icons of applications. Its arguments are the name of the desktop's
/// icon theme and what the icon may be called, the likeliest first: a name in the theme or an absolute file
/// name. It writes the images below to standard output; without them there is no icon.
inline constexpr char kApplicationIconProgram[] = "vello-application-icon";

/// The icon, drawn in the sizes that the panel needs for screens of any scale, as plain pixels.
QByteArray applicationIconImages(const QIcon& icon);

/// The icon of these images. Null when the bytes are not exactly what the function above makes.
QIcon applicationIcon(const QByteArray& images);

} // namespace vello
