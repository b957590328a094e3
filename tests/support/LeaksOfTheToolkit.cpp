// SPDX-License-Identifier: Apache-2.0
#include <sanitizer/lsan_interface.h>

/// What the leak checker passes over, together with all that it leads to: the texture of an image that the
/// toolkit's software renderer has drawn. Qt 6.4 keeps one for each image file and frees it with the next
/// frame after the image was forgotten, but not when the last window goes.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:QSGTexture::QSGTexture\n";
}
