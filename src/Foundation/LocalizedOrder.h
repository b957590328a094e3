// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

namespace vello {

/// Sorts names as a user expects: by the rules of a language, ignoring case, and numbers by value, so that
/// "Output 2" comes before "Output 10".
class LocalizedOrder {
public:
    /// `locale` is an ICU locale such as "sv_SE"; empty means the user's locale.
    explicit LocalizedOrder(std::string_view locale = {});
    ~LocalizedOrder();
    LocalizedOrder(const LocalizedOrder&) = delete;
    LocalizedOrder& operator=(const LocalizedOrder&) = delete;

    /// Compares UTF-8; invalid bytes count as the replacement character. A strict weak order in which names
    /// that differ only in case are equivalent.
    bool isBefore(std::string_view first, std::string_view second) const;

private:
    struct Collation;
    std::unique_ptr<const Collation> collation_;
};

} // namespace vello
