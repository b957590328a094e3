// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace vello {

/// Text for the user in the user's language. The English text is the key, and the answer while there is no
/// translation; there are none so far. Every text of the models that people read passes through here.
inline std::string localized(std::string_view english) {
    return std::string(english);
}

} // namespace vello
