// SPDX-License-Identifier: Apache-2.0
#include "Control/Version.h"

namespace vello {

const char kVersion[] = VELLO_VERSION;

} // namespace vello
