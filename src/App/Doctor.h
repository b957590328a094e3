// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// `vello doctor`: prints a page about this session, within three seconds whoever does not answer. Exits the
/// process with 0 when no trouble was found, else with 1.
[[noreturn]] void runDoctor(bool showsNames, int argumentCount, char** arguments);

} // namespace vello
