// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

namespace vello {

/// The order in which a user expects names: that of a language, without regard to case, and numbers by their
/// value, so that "Output 2" comes before "Output 10".
class LocalizedOrder {
public:
    /// `locale` is an ICU locale such as "sv_SE"; empty: the user's own.
    explicit LocalizedOrder(std::string_view locale = {});
    ~LocalizedOrder();
    LocalizedOrder(const LocalizedOrder&) = delete;
    LocalizedOrder& operator=(const LocalizedOrder&) = delete;

    /// UTF-8; what is not valid counts as the replacement character. A strict weak order: names that differ
    /// only in case are neither before the other.
    bool isBefore(std::string_view first, std::string_view second) const;

private:
    struct Collation;
    std::unique_ptr<const Collation> collation_;
};

} // namespace vello
