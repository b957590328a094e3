// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Table.h"

#include "Foundation/Text.h"

#include <algorithm>

namespace vello {

void Table::add(std::vector<std::string> cells) {
    std::vector<Cell>& row = rows_.emplace_back();
    for (std::string& cell : cells) {
        const std::size_t width = terminalWidth(cell);
        row.push_back({std::move(cell), width});
    }
}

std::string Table::text() const {
    const std::vector<std::size_t> widths = columnWidths();
    std::string result;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column)
            line.append(row[column].text).append(widths[column] - row[column].width + 2, ' ');
        result.append(line, 0, line.find_last_not_of(' ') + 1).append("\n");
    }
    return result;
}

std::vector<std::size_t> Table::columnWidths() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].width);
    }
    return widths;
}

} // namespace vello
