// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QIcon>

namespace vello {

/// File name of the program that draws the icons of applications. Its arguments are the name of the desktop's
/// icon theme and the candidate names of the icon, the likeliest first: a name in the theme or an absolute
/// file name. It writes the images below to standard output, or nothing when there is no icon.
inline constexpr char kApplicationIconProgram[] = "vello-application-icon";

/// The icon as uncompressed pixels, in the sizes that the panel needs for screens of any scale.
QByteArray applicationIconImages(const QIcon& icon);

/// Makes an icon of these images. Null when the bytes are not exactly the output of applicationIconImages().
QIcon applicationIcon(const QByteArray& images);

} // namespace vello
