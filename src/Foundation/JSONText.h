// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <stdexcept>
#include <string>
#include <string_view>

namespace vello {

/// Text that is not the expected JSON, or a value that JSON cannot represent. what() is one line and may
/// quote the text.
class CodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class JSONLayout {
    compact,      ///< one line, keys in insertion order
    prettySorted, ///< indented by two spaces, keys sorted by their UTF-8 bytes
};

/// Parses one JSON text: strict UTF-8, at most 512 levels deep. A leading byte order mark is skipped. If an
/// object repeats a key, the last value is used. Throws CodingError.
nlohmann::json parseJSON(std::string_view text);

/// Writes numbers in the shortest form that reads back exactly. Throws CodingError for a number that is not
/// finite and for a string that is not valid UTF-8.
std::string writeJSON(const nlohmann::ordered_json& value, JSONLayout layout);

} // namespace vello
