// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace vello {

/// The messages of one language as `msgfmt` writes them (a file .mo, little-endian), but compiled in. The
/// bytes are trusted; what is returned points into them. Any thread.
struct MessageCatalogue {
    std::string_view language; ///< as gettext names it
    std::span<const unsigned char> bytes;
    std::size_t (*form)(std::size_t count); ///< the form of a text that goes with a count, from 0

    /// The number of messages, with the header of the file, which is the first.
    std::size_t size() const noexcept;
    /// The key of a message; of one with a plural, the singular. A context precedes it, ended by kContextEnd.
    std::string_view key(std::size_t index) const noexcept;

    /// The translation of a key; of a message with a plural, the first form.
    std::optional<std::string_view> find(std::string_view key) const noexcept;
    /// The form of the translation that goes with `count`.
    std::optional<std::string_view> find(std::string_view key, std::size_t count) const noexcept;
    /// The header: one field a line.
    std::string_view header() const noexcept { return translation(0); }

    static constexpr std::size_t kFirstMessage = 1; ///< after the header
    static constexpr char kContextEnd = '\4';

private:
    std::size_t number(std::size_t place) const noexcept;
    std::string_view text(std::size_t table, std::size_t index) const noexcept;
    std::optional<std::size_t> indexOf(std::string_view key) const noexcept;
    /// Of a message with a plural, all forms, each but the last ended by a zero byte.
    std::string_view translation(std::size_t index) const noexcept;
};

/// The catalogues of all languages, in the order of their names. Generated from po/ at build time.
std::span<const MessageCatalogue> messageCatalogues();

} // namespace vello
