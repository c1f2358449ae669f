#include "text_table.h"

#include <algorithm>

#include "shown_text.h"

namespace ptmatch::tool {

std::string alignedText(const std::vector<TableRow>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const TableRow& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], numCharacters(row[i]));
        }
    }
    std::string text;
    for (const TableRow& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += std::string(widths[i] - numCharacters(row[i]) + (i == 0 ? 0 : 2), ' ') + row[i];
        }
        text.erase(text.find_last_not_of(' ') + 1);  // a row may end in empty cells
        text += '\n';
    }
    return text;
}

std::string countedText(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace ptmatch::tool
