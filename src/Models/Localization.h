// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace vello {

/// What a text reads as on this system.
struct SystemWording {
    std::string_view english; ///< the key
    std::string_view wording;
};

/// The texts that name a place or a machine of another system, and what they read as here.
std::span<const SystemWording> systemWordings();

/// Text for the user in the user's language. The English text is the key, and the answer while there is
/// neither a wording for this system nor a translation; there are no translations so far. Every text that
/// people read passes through here.
std::string localized(std::string_view english);

} // namespace vello
