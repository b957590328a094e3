// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Version.h"

namespace vello {

const char kVersion[] = VELLO_VERSION;

} // namespace vello
