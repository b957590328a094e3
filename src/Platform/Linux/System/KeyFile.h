// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// The first `atMost` bytes of a regular file that is no symbolic link, or, when links are followed, leads to
/// one. Absent when it cannot be read. Never waits for a pipe of that name.
enum class Links { follow, refuse };
std::optional<std::string> readSmallFile(const std::filesystem::path& file, std::size_t atMost, Links links);

/// Key and value of one group of a desktop entry or another file of that format. Values are as they stand in
/// the file.
using KeyFileGroup = std::map<std::string, std::string, std::less<>>;

/// The group of that name; empty when there is none. Of equal keys the first counts.
KeyFileGroup readKeyFileGroup(std::string_view text, std::string_view group);

/// A string value with its escapes \s \n \t \r \\ replaced.
std::string unescapedValue(std::string_view value);

} // namespace vello
