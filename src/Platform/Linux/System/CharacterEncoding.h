// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Makes UTF-8 the character encoding of this process and of those that it starts, where the user's locale
/// has another one ("C" in a service, "de_DE" of old) or is not installed: changes LC_CTYPE in the
/// environment and nothing of what the other categories mean. The toolkit takes UTF-8 for granted; since
/// version 6.8 it complains on standard error where it is not. Before the first thread and before the toolkit
/// reads the locale.
void useUTF8();

} // namespace vello
