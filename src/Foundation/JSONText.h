// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <stdexcept>
#include <string>
#include <string_view>

namespace vello {

/// A text that is not the JSON it should be, or a value that JSON cannot hold. what() says which, in one
/// line; it may quote the text.
class CodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class JSONLayout {
    compact,      ///< one line, keys in the order in which they were set
    prettySorted, ///< two spaces an indent, keys of every object in the order of their UTF-8 bytes
};

/// Parses one JSON text: strict UTF-8, a byte order mark at the start is skipped, at most 512 levels deep, of
/// equal keys in an object the last counts. Throws CodingError.
nlohmann::json parseJSON(std::string_view text);

/// Numbers have the shortest form that reads back exactly. Throws CodingError for a number that is not finite
/// and for a string that is not UTF-8.
std::string writeJSON(const nlohmann::ordered_json& value, JSONLayout layout);

} // namespace vello
