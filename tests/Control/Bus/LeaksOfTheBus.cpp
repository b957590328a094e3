// SPDX-License-Identifier: Apache-2.0
#include <sanitizer/lsan_interface.h>

/// What the leak checker passes over: a message of libdbus, which Qt alone calls. Once in hundreds of runs
/// one is left when a connection is closed (Qt 6.4). A message that is lost on our side is an object of Qt as
/// well, which is still found.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libdbus-1.so\n";
}
