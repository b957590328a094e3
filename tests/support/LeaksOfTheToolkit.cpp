// SPDX-License-Identifier: Apache-2.0
#include <sanitizer/lsan_interface.h>

/// Suppresses one leak, with everything reachable from it: the texture of an image that Qt's software
/// renderer has drawn. Qt 6.4 keeps one for each image file and frees it with the next frame after the image
/// was dropped, but not when the last window is closed.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:QSGTexture::QSGTexture\n";
}
