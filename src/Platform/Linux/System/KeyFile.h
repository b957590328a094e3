// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vello {

/// Key and value of one group of a desktop entry or another file of that format. Values are as they stand in
/// the file.
using KeyFileGroup = std::map<std::string, std::string, std::less<>>;

/// The group of that name; empty when there is none. Of equal keys the first counts. A line that is neither
/// key and value nor group is passed over: entries with such lines are installed, and GLib's parser refuses
/// the whole file.
KeyFileGroup readKeyFileGroup(std::string_view text, std::string_view group);

/// A string value with its escapes \s \n \t \r \\ replaced.
std::string unescapedValue(std::string_view value);

} // namespace vello
