// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vello {

/// A table for a terminal. Every column is as wide as its widest cell, in terminal columns.
class Table {
public:
    /// `titles` is the first row.
    explicit Table(std::vector<std::string> titles) { add(std::move(titles)); }
    void add(std::vector<std::string> cells);
    /// One line for each row, without blanks at the end.
    std::string text() const;

private:
    struct Cell {
        std::string text;
        std::size_t width = 0; ///< measured once, because that is slow for long tables
    };

    std::vector<std::size_t> columnWidths() const;

    std::vector<std::vector<Cell>> rows_;
};

} // namespace vello
